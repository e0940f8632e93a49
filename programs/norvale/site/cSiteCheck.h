#pragma once

#include "config/cDownloader.h"
#include "lint/InputFile.h"
#include "lint/cCatalogueLint.h"
#include "plugins/cManifest.h"
#include "version/cPluginId.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <memory>
#include <optional>

class cDeltaCheck;
class cFeaturePlugin;
class cFindings;
class cSignedSiteCheck;
class cSuite;
class cUpdateLocation;
struct cRuntimeEntry;

/// Fetches the files of a site, which is a folder of this machine or lies on a server, as an installation does.
class cSiteFetcher
{
public:
    /// @p place is a URL or the path of a folder; "site.xml" behind it is dropped.
    static QUrl siteUrl(const QString& place);

    /// What people read: the path of a local file, else the URL.
    static QString nameOf(const QUrl& url);

    // What there is to say of a file that is not the one that its repository describes.
    static QString otherSize(qint64 size, qint64 stated);
    static QString otherHash(const QByteArray& hash, const QByteArray& stated);

    /// @param limit the most bytes that are taken.
    [[nodiscard]] bool fetch(const QUrl& url, qint64 limit, QByteArray* bytes);

    /// Has @p check look at all that is fetched.
    void setCheck(cSignedSiteCheck* check) { m_check = check; }

    /// Why the last fetch() failed; without the URL.
    QString errorString() const { return m_downloader.errorString(); }

private:
    cDownloader m_downloader;
    cSignedSiteCheck* m_check = nullptr;
};

/// The packages and setup programs of a site. Each is fetched once, whoever names it and however often; what is kept of
/// it is what there is to compare.
class cPackageStore
{
public:
    struct File
    {
        bool isThere = false;
        QString reason; // why it is not
        qint64 size = 0;
        QByteArray hash;                   // SHA-1
        std::optional<cPluginId> plugin;   // of a package that the installer would take
        std::optional<cManifest> manifest; // of such a package
        cQtMajors qtMajors;                // of its libraries
    };

    explicit cPackageStore(cSiteFetcher& fetcher) : m_fetcher(fetcher) {}

    /// What is wrong with the package in itself is added to @p findings when it is fetched.
    const File& package(const QUrl& url, cFindings& findings);

    /// A file that is no package.
    const File& file(const QUrl& url);

    int count() const { return m_files.size(); }

private:
    bool fetch(const QUrl& url, QByteArray* bytes, File& file);

    cSiteFetcher& m_fetcher;
    QHash<QUrl, File> m_files;
};

/// Fetches all that a site offers, each file once, and holds it against what the site says of it.
class cSiteCheck
{
public:
    cSiteCheck(const QUrl& site, cFindings& findings);
    ~cSiteCheck();

    /// @return false when the site's description cannot be fetched; errorString() says why.
    [[nodiscard]] bool run();

    QString errorString() const { return m_errorString; }

    /// How much was fetched, for people.
    QString summary() const;

private:
    void checkSigned(cSignedSiteCheck& check);
    void checkRepository(const cSiteLint::Entry& entry, const QString& site);
    void readCatalogue(const QByteArray& xml, const QUrl& content, const QString& name, const QString& expectedName);
    void checkPlugin(const cFeaturePlugin& plugin, const QString& repository, cSuite& suite);
    void comparePackage(const cFeaturePlugin& plugin, const cPackageStore::File& file, const QString& name);
    void checkRuntime(const cRuntimeEntry& runtime, const cUpdateLocation& location, const QString& repository);

    QUrl m_site;
    cFindings& m_findings;
    cSiteFetcher m_fetcher;
    cPackageStore m_packages;
    std::unique_ptr<cDeltaCheck> m_deltas;
    QSet<QUrl> m_repositories; // that have been looked at
    QString m_errorString;
};
