#pragma once

#include "config/cPartFile.h"
#include "config/cTransfer.h"

#include <QtCore/QFutureWatcher>

#include <functional>

class QThreadPool;
class cConnections;

/**
 * One file that is fetched from the first of its sources that has it.
 *
 * What arrives goes to "PATH.part" at once, hashed on the way, with the place and the validator it came from in
 * "PATH.part.origin"; under PATH the file stands once it is whole, matches its hash and is flushed. So memory does not
 * grow with the file, and what a cut, a cancel or a kill has left goes on where it stopped: with `Range` and
 * `If-Range`, from the source it came from. A server that answers with the whole, another validator, or a whole that
 * does not match its hash makes the file start anew, once a source.
 *
 * A fetch is run by a `cFetchQueue`, on the queue's thread.
 */
class cFetch : public QObject
{
    Q_OBJECT

public:
    struct Source
    {
        QUrl url;
        qint64 limit = 0; // the most bytes that are accepted; 0 for any number, -1 when nobody vouches for it
    };

    struct Order
    {
        QString name; // what it is, for the log: "Name-1.02.003"; empty when its caller logs
        QString path; // absolute; its folder is made
        QVector<Source> sources;
        QByteArray sha1; // what the whole must have
        /// Why a whole with that SHA-256 and length is refused all the same; empty when it is not. May be null.
        std::function<QString(const QByteArray& sha256, qint64 length)> refusal;
        /// Does what has to be done before the whole takes its place at the path, and tells why it must not; empty when
        /// it may. Nothing of the whole is lost with that. May be null.
        std::function<QString()> makeWay;
        bool isProgram = false; // which its owner may run
    };

    explicit cFetch(const Order& order);
    ~cFetch() override;

    /// Idle until it is added to a queue.
    cTransfer::State state() const { return m_state; }
    bool hasSucceeded() const { return state() == cTransfer::Succeeded; }

    const QString& path() const { return m_order.path; }

    /// The bytes that are there, those of earlier runs included, and those that came from a source in this one.
    qint64 bytesThere() const { return m_part.length(); }
    qint64 bytesFetched() const { return m_part.bytesWritten(); }

    /// Of the last source that was tried, as `cTransfer` has them, or of the disk. Each failure has had its line in the
    /// log.
    int error() const { return m_error; }
    const QString& errorString() const { return m_errorString; }

    /// Whether it failed because of the disk, which errorString() names.
    bool hasDiskFault() const { return m_hasDiskFault; }

    /// Whether a part of an earlier run lies beside @p path.
    [[nodiscard]] static bool hasPart(const QString& path) { return QFile::exists(cPartFile::partOf(path)); }
    /// The names of the files that a fetch leaves beside @p path while it is not whole.
    [[nodiscard]] static QStringList restsOf(const QString& path);

signals:
    /// Of the whole file, -1 for an unknown total; a restart begins again at 0.
    void progress(qint64 bytesThere, qint64 bytesTotal);
    /// Succeeded, failed or cancelled.
    void done();
    /// It does not use its source's host any more, or not yet the one of the next source: for the queue.
    void paused();

private:
    friend class cFetchQueue;

    /// Of a fetch that runs: waits for room at its source's host, takes that room, or brings the whole to the disk.
    enum Step { Waits, Transfers, Flushes };

    /// What the fetches of a queue share.
    struct Means
    {
        cConnections* connections = nullptr;
        QThreadPool* threads = nullptr; // for flushes, during which connections are not to wait
        cTransfer::Options options;
    };

    // What the queue does. It adds a fetch once, lets it run while its source's host has room, as often as it waits,
    // and cancels it.
    void add();
    bool isIn(Step step) const { return m_state == cTransfer::Running && m_step == step; }
    bool isTelling() const { return m_telling > 0; }
    QUrl source() const { return m_sources.value(m_source).url; }
    void run(const Means& means);
    void cancel() { end(cTransfer::Cancelled, QNetworkReply::OperationCanceledError, QStringLiteral("cancelled")); }

    void tell(qint64 total);
    void readPart();
    void request();
    bool canGoOn() const;
    cTransfer::Options optionsFor(const Source& source) const;
    void begin();
    void takeEnd();
    void judge();
    QString refusal();
    void tryAgain(const QString& reason);
    void refuse(const QString& reason);
    void finish();
    QString putInPlace();
    void conclude(const QString& fault);
    void failOnDisk(const QString& reason);
    void end(cTransfer::State state, int error, const QString& reason);
    void log(const QString& from, const QString& reason) const;

    const Order m_order;
    QVector<Source> m_sources; // in the order in which they are tried
    int m_source = 0;
    cTransfer::State m_state = cTransfer::Idle;
    Step m_step = Waits;
    bool m_isAnew = false; // the present source is asked for the whole, after its rest was of no use
    bool m_hadPart = false;
    cPartFile m_part;
    cPartFile::Origin m_origin;
    Means m_means;
    QSharedPointer<cTransfer> m_transfer;
    QFutureWatcher<QString> m_flush;
    int m_telling = 0; // signals that are being sent
    int m_error = QNetworkReply::NoError;
    QString m_errorString;
    bool m_hasDiskFault = false;
};
