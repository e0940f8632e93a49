#pragma once

#include "config/cDownloader.h"
#include "config/cUpdateLocation.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>

class cFeatureCatalogue;
class cRuntimeInfo;
class cTrustedSite;

/**
 * One search for the newest repository: reads the site descriptions of the update locations, then the descriptions of
 * the repositories that fit. What cannot be fetched or read is logged and passed over. Where a root of trust is pinned,
 * so is what the site's signed metadata do not vouch for, and a site without them.
 *
 * Independent of who started it, who may be gone when it ends; whoever goes cancels it. A cancelled search touches what
 * it was to fill no more.
 */
class cRepositorySearch : public QObject
{
    Q_OBJECT

public:
    using Locations = QList<QSharedPointer<cUpdateLocation>>;

    /// The greatest descriptions that are fetched, in bytes.
    static constexpr qint64 SiteLimit = 4 * 1024 * 1024;
    static constexpr qint64 RepositoryLimit = 256 * 1024 * 1024;

    cRepositorySearch(const Locations& locations, const QString& name, const QString& status);

    /// Replaces @p catalogue by each newer one found; @p runtime takes what is newer on the way there. True when any
    /// repository fits, even if none could be fetched; false when none does or the search was cancelled. The reason of
    /// a false is logged.
    [[nodiscard]] bool run(cFeatureCatalogue& catalogue, cRuntimeInfo& runtime);

    /// Whether every location was reached and every repository that fits was read: what was not found is not there.
    bool isComplete() const { return m_isComplete && !m_locations.isEmpty(); }

    /// What could not be fetched or read.
    const QList<cSitesOutcome::cFailure>& failures() const { return m_failures; }

    /// The site that vouches for the newest repository; null when no root of trust is pinned, or none was found.
    const QSharedPointer<cTrustedSite>& site() const { return m_site; }

    /// Ends the search at once.
    void cancel();
    bool isCancelled() const { return m_isCancelled; }

signals:
    /// Of each description, under its file name.
    void progress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes);

private:
    /// A repository that fits.
    struct cCandidate
    {
        QSharedPointer<cUpdateLocation> location;
        QString description; // its path below the site
        QSharedPointer<cTrustedSite> site;
    };

    QString wanted() const;
    QList<cCandidate> candidatesOf(const QSharedPointer<cUpdateLocation>& location);
    QSharedPointer<cTrustedSite> refresh(const QSharedPointer<cUpdateLocation>& location);
    void takeIfNewer(const cCandidate& candidate, cFeatureCatalogue& catalogue, cRuntimeInfo& runtime);
    /// False, with the reason logged, when the download fails or @p site, which is null when nothing is verified, does
    /// not vouch for @p path; false for everything once the search is cancelled.
    bool fetch(const QUrl& url, qint64 limit, cTrustedSite* site, const QString& path);
    bool conclude(bool hasArrived, const char* what, const QUrl& url, const QString& reason);
    void passOver(const char* what, const QUrl& url, const QString& reason);
    void noteFailure(const QUrl& url, const QString& reason);

    const Locations m_locations;
    const QString m_name;
    const QString m_status;
    cLog m_log;
    cDownloader m_downloader;
    const bool m_isVerified; // a root of trust is pinned
    QString m_fileName;      // of the transfer that waits
    QSharedPointer<cTrustedSite> m_site;
    QList<cSitesOutcome::cFailure> m_failures;
    bool m_isComplete = true;
    bool m_isCancelled = false;
};
