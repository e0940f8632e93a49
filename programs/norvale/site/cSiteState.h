#pragma once

#include "config/cFeatureCatalogue.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>

/// One repository of a site, as a command line names it.
struct cSitePlace
{
    QString site;       // folder of the site
    QString repository; // empty: the one that the site has, or "main"
    QString status;
    std::optional<QString> content = std::nullopt; // path of the repository within the site
};

/// A site's folder as it stands: its description, and one repository with what it offered before.
class cSiteState
{
public:
    /// Reads site.xml, picks the repository that @p place means, and reads its repository.xml. What is not there yet
    /// is empty. @return false when something cannot be read, or there is no telling which repository is meant.
    [[nodiscard]] bool read(const cSitePlace& place);

    /// Some repository of the site, where it does not matter which.
    static std::optional<cSitePlace> anyPlace(const QString& site);

    QString errorString() const { return m_errorString; }

    /// The site's folder, absolute.
    const QString& folder() const { return m_folder; }
    const QList<cSiteEntry>& entries() const { return m_entries; }

    /// The entry that leads to the repository; of a new one too.
    const cSiteEntry& entry() const { return m_entry; }
    bool hasEntry() const { return m_hasEntry; }

    /// The repository and its status, for people.
    QString name() const { return QStringLiteral("%1 (%2)").arg(m_entry.update, m_entry.status); }

    const cFeatureCatalogue& catalogue() const { return m_catalogue; }

    /// The versions of features that stood in the catalogue before and have not been retired, the one that was replaced
    /// last at the end. One that is offered again may be among them.
    const cFeatureCatalogue& earlier() const { return m_earlier; }

    /// The repository's description as it stands; empty when there is none.
    QByteArray repositoryXml() const { return m_repositoryXml; }

    QString sitePath() const;
    QString repositoryFolder() const { return repositoryFolder(m_entry); }
    QString repositoryPath() const { return repositoryFolder() + QStringLiteral("/repository.xml"); }

    /// Where earlier() is kept: a file of the site's own, which no client asks for.
    QString earlierPath() const { return earlierPath(m_entry); }

    // The same for another entry.
    QString repositoryFolder(const cSiteEntry& entry) const;
    QString earlierPath(const cSiteEntry& entry) const;

    /// The path of the first source of @p plugin in the repository's folder that is there; empty when there is none.
    QString localPackage(const cFeaturePlugin& plugin) const;

    /// Whether all sources of @p plugin are URLs of their own, so that the site holds no package of it.
    static bool isRemote(const cFeaturePlugin& plugin);

    /// The site's description with the entry.
    QByteArray siteXml() const;

    /// Reads the catalogue at @p path; an absent one is empty. @return why it cannot be read; empty when it can.
    static QString readCatalogue(const QString& path, cFeatureCatalogue& catalogue, QByteArray* xml = nullptr);

private:
    bool readSite();
    bool pickRepository(const cSitePlace& place);
    bool pickContent(const cSitePlace& place);
    bool readRepository();
    bool fail(const QString& reason);

    QString m_folder;
    QList<cSiteEntry> m_entries;
    cSiteEntry m_entry;
    bool m_hasEntry = false;
    cFeatureCatalogue m_catalogue;
    cFeatureCatalogue m_earlier;
    QByteArray m_repositoryXml;
    QString m_errorString;
};
