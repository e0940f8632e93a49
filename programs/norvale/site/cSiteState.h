#pragma once

#include "config/cFeatureCatalogue.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

/// What somebody wants to be published: a version of a feature with its packages, a runtime, or both.
struct cSiteAddition
{
    QString site; // folder of the site

    QString feature; // empty when there is none
    QString featureVersion;
    QStringList packages;                    // paths of the feature's packages
    QMap<QString, QString> displayNames;     // language to text; those of the version before stay unless named here
    std::optional<QStringList> dependencies; // those of the version before unless given
    QMap<QString, QString> shared;           // other features that take the same plugins, with their new versions

    QString repository;        // empty: the one that the site has, or "main"
    QString repositoryVersion; // empty: one more than before
    QString status;
    std::optional<QString> content; // path of the repository within the site
    QString coreVersion;            // empty: as before

    QString runtime; // path of a setup program; empty when there is none
    QString runtimeVersion;

    bool mayReplace = false; // a published version may change
};

/// A site's folder as it stands: its description, and the one repository that is to be changed.
class cSiteState
{
public:
    /// Reads site.xml, picks the repository that @p wanted means, and reads its repository.xml. What is not there yet
    /// is empty. @return false when something cannot be read, or there is no telling which repository is meant.
    [[nodiscard]] bool read(const cSiteAddition& wanted);

    QString errorString() const { return m_errorString; }

    /// The entry that leads to the repository; of a new one too.
    const cSiteEntry& entry() const { return m_entry; }
    bool hasEntry() const { return m_hasEntry; }

    const cFeatureCatalogue& catalogue() const { return m_catalogue; }

    /// The repository's description as it stands; empty when there is none.
    QByteArray repositoryXml() const { return m_repositoryXml; }

    QString sitePath() const;
    QString repositoryFolder() const;
    QString repositoryPath() const;

    /// The site's description with the entry.
    QByteArray siteXml() const;

private:
    bool readSite();
    bool pickRepository(const cSiteAddition& wanted);
    bool pickContent(const cSiteAddition& wanted);
    bool readRepository();
    bool fail(const QString& reason);

    QString m_folder;
    QList<cSiteEntry> m_entries;
    cSiteEntry m_entry;
    bool m_hasEntry = false;
    cFeatureCatalogue m_catalogue;
    QByteArray m_repositoryXml;
    QString m_errorString;
};
