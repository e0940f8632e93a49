#pragma once

#include "config/cDownloader.h"
#include "config/cDropbox.h"
#include "config/cFetchQueue.h"
#include "config/cPackageFetch.h"

#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>
#include <QtCore/QThreadPool>
#include <QtCore/QVector>

#include <memory>
#include <vector>

class cFeaturePlugin;
class cUpdateCheck;

/**
 * Fetches what a check found, so that the next start can install it: the packages into the Dropbox folder and, as the
 * last step that makes them count, the description beside them; or, when a newer runtime is needed first, its setup
 * program into the data folder. Nothing that is installed changes.
 *
 * An object makes one run, on the calling thread, which serves its events meanwhile; `cancel()` may be called from one.
 */
class cUpdateApply : public QObject
{
    Q_OBJECT

public:
    /// @p check has found an update; it is only read, and must live as long as this object.
    explicit cUpdateApply(const cUpdateCheck& check);

    /**
     * Fetches everything.
     * @param result the check's object.
     * @return the same with the outcome as `IConfigMgr::doUpdateOn` documents it; the reason of a code 1 or 3 is
     * logged.
     */
    cJsonValue run(cJsonValue result);

    /// Ends what is under way, if anything; the run then ends with code 1.
    void cancel();

signals:
    void progress(QString fname, qint64 bytesReceived, qint64 bytesTotal);
    /// One bar over all files from here on: its name, the bytes of the files that are done, and of all.
    void overallProgress(QString label, qint64 base, qint64 total);

private:
    bool fetchPackages();
    bool isCoreNewEnough();
    bool areNamesSafe();
    bool fetchMissing();
    bool prepare();
    bool enlist();
    void begin();
    void wait();
    bool conclude();
    void tell(const cPackageFetch& fetch, qint64 bytesThere, qint64 bytesTotal);
    void endBehind(const cPackageFetch& failed);
    bool commit();

    bool fetchRuntime();

    /// Keeps what failed, logs why, and is false.
    bool fail(const QString& what, const QString& reason);

    const cUpdateCheck& m_check;
    const QVector<cFeaturePlugin*> m_plugins; // to fetch
    cLog m_log;
    cDropbox m_dropbox;
    cDownloader m_downloader; // of metadata and of the runtime
    cFetchQueue m_queue;
    QThreadPool m_threads;
    std::vector<std::unique_ptr<cPackageFetch>> m_fetches; // one for each plugin, in their order
    qint64 m_fetched = 0;                                  // bytes that came from the sources
    bool m_isCancelled = false;
    QString m_failed;
};
