#pragma once

#include "config/cUpdateLocation.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>

class cFeatureCatalogue;
class cRepositorySearch;
class cRuntimeInfo;
class cTrustedSite;

/**
 * Knows the update locations of this installation, finds the newest repository there and relays the progress of
 * transfers from them.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only.
 */
class cUpdateMgr : public QObject
{
    Q_OBJECT

public:
    cUpdateMgr();
    ~cUpdateMgr() override;

    /// Null before the first one is made.
    static cUpdateMgr* instance();

    /// Fills the list anew from the host's settings, in the order of the settings' keys, whatever the priorities are.
    void loadLocations();

    const QList<QSharedPointer<cUpdateLocation>>& locations() const { return m_locations; }

    /// Loads the update locations anew and looks through them for the newest repository named @p repositoryName, and
    /// blocks while serving the event loop. @p catalogue is replaced by each newer one that is found; @p runtime takes
    /// each newer runtime on the way. True once any repository fits, even when none could be fetched. False when none
    /// does, after `cancel()`, when this object is destroyed meanwhile, and at once while another search waits; the
    /// reason is logged.
    [[nodiscard]] bool findNewest(const QString& repositoryName, cFeatureCatalogue& catalogue, cRuntimeInfo& runtime);

    /// Ends the search that waits, if any; it is false and fills nothing more.
    void cancel();
    /// Whether the last search ended by `cancel()`.
    bool isCancelled() const { return m_isCancelled; }
    /// How the update locations answered the last search.
    const cSitesOutcome& lastSites() const { return m_lastSites; }
    /// The site that vouches for what the last search has found; null when no root of trust is pinned.
    const QSharedPointer<cTrustedSite>& trustedSite() const { return m_trustedSite; }
    /// Whether the last search reached every update location, of which there was one at least, and read all it found.
    bool isComplete() const { return m_isComplete; }

signals:
    void progress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes);

public slots:
    void onProgress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes);

private:
    QList<QSharedPointer<cUpdateLocation>> m_locations;
    cRepositorySearch* m_search = nullptr; // the one that waits
    cSitesOutcome m_lastSites;
    QSharedPointer<cTrustedSite> m_trustedSite;
    bool m_isCancelled = false;
    bool m_isComplete = false;
};
