#pragma once

#include "site/cSiteEditor.h"

#include <QtCore/QMap>

/// What somebody wants to be published: a version of a feature with its packages, a runtime, or both.
struct cSiteAddition : cSitePlace
{
    QString feature; // empty when there is none
    QString featureVersion;
    QStringList packages;                    // paths of the feature's packages
    QMap<QString, QString> displayNames;     // language to text; those of the version before stay unless named here
    QMap<QString, QString> notes;            // language to what the version brings
    std::optional<QStringList> dependencies; // those of the version before unless given
    QMap<QString, QString> shared;           // other features that take the same plugins, with their new versions

    QString repositoryVersion; // empty: one more than before
    QString coreVersion;       // empty: as before

    QString runtime; // path of a setup program; empty when there is none
    QString runtimeVersion;

    bool mayReplace = false; // a published version may change
    int deltas = 0;          // from how many earlier versions patches are made
};

/// Publishes a feature or a runtime.
class cSitePublisher : public cSiteEditor
{
public:
    explicit cSitePublisher(const cSiteAddition& wanted);

protected:
    ExitCode edit() override;

private:
    using Feature = cRepositoryEdit::Feature;

    bool readFiles();
    bool readRuntime();
    bool placePackages();
    bool editFeature();
    Feature makeFeature() const;
    bool editSharedFeatures();

    const cSiteAddition m_wanted;
};
