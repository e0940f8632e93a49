#pragma once

#include "config/cFeatureCatalogue.h"
#include "plugins/cManifest.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>

class cSiteState;
struct cSiteAddition;

/// A package or a setup program that is to be published.
struct cNewFile
{
    QString path; // where it comes from
    QByteArray bytes;
    QByteArray hash;                   // SHA-1
    QString source;                    // where it goes, relative to the repository
    cPluginId id;                      // of a setup program its file name and the runtime's version
    std::optional<cManifest> manifest; // of a package
};

/**
 * The new description of a repository: the old one with a feature in a new version, a runtime, or both.
 *
 * A published version never changes, since an installation that has it does not look again; and no version goes back.
 */
class cRepositoryEdit
{
public:
    cRepositoryEdit(const cSiteState& state, const cSiteAddition& wanted) : m_state(state), m_wanted(wanted) {}

    /// Puts @p packages and @p runtime (may be null) in place; says in them where they go. @return false when a rule
    /// forbids it.
    [[nodiscard]] bool apply(QList<cNewFile>& packages, cNewFile* runtime);

    QString errorString() const { return m_errorString; }

    /// Whether there is anything new. This and xml() are valid after apply().
    bool isChanged() const { return m_isChanged; }
    QByteArray xml() const { return m_xml; }
    QString version() const { return m_catalogue.version().toString(); }

private:
    using Feature = QSharedPointer<cFeatureInstance>;
    using Plugin = QSharedPointer<cFeaturePlugin>;

    bool placePackage(cNewFile& package);
    bool editFeature(const QList<cNewFile>& packages);
    bool editSharedFeatures(const QList<cNewFile>& packages);
    Feature makeFeature() const;
    Plugin makePlugin(const cNewFile& package) const;
    bool takeFeature(const Feature& feature);
    bool editRuntime(cNewFile& runtime);
    bool editVersions();
    bool editVersion(bool isChanged);
    Plugin publishedPlugin(const cPluginId& id) const;
    static QByteArray textOf(const Feature& feature);
    bool fail(const QString& reason);

    const cSiteState& m_state;
    const cSiteAddition& m_wanted;
    cFeatureCatalogue::Features m_features;
    cFeatureCatalogue m_catalogue;
    QByteArray m_xml;
    bool m_isChanged = false;
    QString m_errorString;
};
