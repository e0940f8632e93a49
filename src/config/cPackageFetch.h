#pragma once

#include "config/cContentDigest.h"
#include "config/cFetchQueue.h"

#include <QtCore/QFutureWatcher>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>

#include <memory>

class QThreadPool;
class cDownloader;
class cDropbox;
class cFeaturePlugin;
class cFileRecord;
class cRebuild;
class cReplacement;
class cTrustedSite;
struct cFeatureDelta;

/**
 * Brings the package of one plugin into the Dropbox. One that lies there stays. Where its repository has a patch for a
 * version that lies in the plugins folder as it was unpacked, the package is made again from both; else it is fetched
 * whole. A part of the whole decides: with one there, it is gone on with, and no patch is tried. So a patch that turns
 * out to be of no use is told once, an empty part is laid there, and no later run tries it again.
 *
 * Lives on one thread, whose events its caller serves until it has ended; a package is rebuilt on another one.
 */
class cPackageFetch : public QObject
{
    Q_OBJECT

public:
    /// What the packages of one update share.
    struct Means
    {
        cDropbox& dropbox;
        cTrustedSite* site; // which vouches for them; null when no root of trust is pinned
        cFetchQueue& queue;
        QThreadPool& threads;
    };

    /// Moves only on; the last three are ends.
    enum State { Waiting, Running, Succeeded, Failed, Cancelled };

    /// All must live as long as this object.
    cPackageFetch(cFeaturePlugin& plugin, const Means& means);
    ~cPackageFetch() override;

    /// Finds out what there is to do; it fails when the repository lacks what is needed to fetch the package. Serves
    /// events where the site has to be asked how long the package may be. @param record of the files that are installed
    void prepare(const cFileRecord& record, cDownloader& downloader);
    void start();
    /// What has arrived stays as a part.
    void cancel();

    cFeaturePlugin& plugin() const { return m_plugin; }
    State state() const { return m_state; }
    bool isOver() const { return m_state > Running; }
    /// Whether nothing has to be fetched, from prepare() on.
    bool isThere() const { return m_isThere; }

    /// The bytes to fetch, and those of them that are there. A patch that was of no use counts beside the whole.
    qint64 planned() const { return m_planned; }
    qint64 reached() const { return m_reached; }
    /// The bytes that came from the sources.
    qint64 fetched() const { return m_fetched; }

    /// Why it failed; empty when the log has been told for each source.
    const QString& reason() const { return m_reason; }

signals:
    /// Of the file that is being fetched.
    void progress(qint64 bytesThere, qint64 bytesTotal);
    /// It has come to an end, whichever.
    void done();

private:
    QString path() const;
    QString patchPath() const;
    QString repositoryFault() const;
    bool isThereAlready() const;
    QString refusal(const QByteArray& sha256, qint64 length) const;
    const cFeatureDelta* usableDelta(const cFileRecord& record) const;

    void fetchPatch();
    void rebuild();
    void takeRebuilt();
    void fetchWholeInstead(const QString& reason);
    void fetchWhole();
    void fetch(const cFetch::Order& order, void (cPackageFetch::*next)());
    void takeWhole();
    void report(qint64 bytesThere, qint64 bytesTotal);
    void fail(const QString& reason);
    void end(State state);

    cFeaturePlugin& m_plugin;
    const Means m_means;
    State m_state = Waiting;
    bool m_isThere = false;
    bool m_isCancelled = false;
    QVector<cFetch::Source> m_sources;
    const cFeatureDelta* m_delta = nullptr; // that is tried
    QSharedPointer<cFetch> m_fetch;
    qint64 m_planned = 0;
    qint64 m_before = 0; // of the planned bytes, those of what was fetched before
    qint64 m_reached = 0;
    qint64 m_fetched = 0;
    QString m_reason;

    // Of a rebuild; they are the other thread's until the watcher says that it has ended.
    std::unique_ptr<cRebuild> m_rebuild;
    std::unique_ptr<cReplacement> m_rebuilt;
    std::unique_ptr<cContentDigest> m_digest;
    QString m_diskFault;
    QFutureWatcher<bool> m_watcher;
};
