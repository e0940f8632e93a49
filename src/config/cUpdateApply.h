#pragma once

#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>
#include <QtCore/QSharedPointer>

class cDownloader;
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
    /// @p check has been made, is only read, and must live as long as this object.
    explicit cUpdateApply(const cUpdateCheck& check);
    ~cUpdateApply() override;

    /**
     * Fetches everything.
     * @param result the check's object, with code 0.
     * @return the same with the outcome as `IConfigMgr::doUpdateOn` documents it; the reason of a code 3 is logged.
     */
    cJsonValue run(const cJsonValue& result);

    /// Ends the transfer under way, if any, and the run with code 1 as soon as it has ended.
    void cancel();

signals:
    void progress(QString fname, qint64 bytesReceived, qint64 bytesTotal);
    /// One bar over all files: its name, the bytes of the files that are done, and those of all.
    void overallProgress(QString label, qint64 base, qint64 total);

private:
    const cUpdateCheck& m_check;
    cLog m_log;
    QSharedPointer<cDownloader> m_transfer; // of the job under way; null when there is none or it was cancelled
    bool m_isCancelled = false;
};
