#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCryptographicHash>
#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QTimer>
#include <QtCore/QUrl>
#include <QtCore/QVector>
#include <QtNetwork/QNetworkReply>
#include <QtNetwork/QNetworkRequest>

#include <optional>

class QFile;
class QIODevice;
class QNetworkAccessManager;
class cConnections;

/**
 * One transfer of one URL: over HTTP or HTTPS, or of a local file, into memory or into a device. Every byte goes
 * through a SHA-1 digest; nothing is compared with it here. An answer shorter than the length it promises fails; one
 * without a length ends with its connection, so that only the digest or the content tells whether it is whole.
 * Redirects are followed unless they lead from HTTPS to HTTP. A request that goes over a kept connection, and dies
 * there before its answer begins, is sent once more over a fresh one.
 *
 * What has arrived is taken in bounded steps, so that the size limit bounds the memory, whatever a server sends.
 *
 * A transfer runs on the events of its thread and does not wait by itself; several may share connections. Whoever waits
 * for it, as `wait()` does, holds it by a shared pointer: what those events run may then cancel it, and destroy the
 * device and whoever began the transfer. Lives on the connections' thread.
 */
class cTransfer : public QObject
{
    Q_OBJECT

public:
    /// Moves only on; the last three are ends.
    enum State { Idle, Running, Succeeded, Failed, Cancelled };

    static constexpr int DefaultLeastRate = 100;

    struct Options
    {
        qint64 sizeLimit = 0;     // the most bytes of the whole that are accepted; 0 for any number
        int stallTimeout = 30000; // milliseconds without anything received; the head of an answer counts as a whole

        /// With a device only, which stands at this place: the bytes from here on are asked for.
        qint64 offset = 0;
        /// The entity tag or the date of the answer that the bytes before the offset came from; empty when it had none.
        /// If it no longer holds, or the server knows no ranges, the whole comes and the device is emptied for it.
        QByteArray validator;

        /// The device digests by itself and keeps what has come for a later transfer: no byte is digested here, what
        /// came before a failure is written whole, and nothing of what a server says of an error.
        bool isPart = false;

        /// Fewer bytes than this a second, over rateWindow milliseconds, are a failure: what is never silent may still
        /// never end. 0 for none.
        int leastRate = DefaultLeastRate;
        int rateWindow = 300000;
    };

    /// A transfer into memory, or into @p device, which is open for writing and stays the caller's: bytes are written
    /// as they arrive or are read, so that after a failure a part may have been written. @p connections must be there
    /// at the start; a transfer whose connections are destroyed meanwhile fails.
    cTransfer(cConnections& connections, const QUrl& url, const Options& options,
              std::optional<QIODevice*> device = std::nullopt);
    ~cTransfer() override;

    /// Once. A local file has been read when it returns.
    void start();

    /// Ends the transfer if it runs.
    void cancel();

    /// Serves the events of this thread until none of @p transfers runs any more.
    static void wait(const QVector<QSharedPointer<cTransfer>>& transfers);

    State state() const { return m_state; }
    bool hasSucceeded() const { return m_state == Succeeded; }
    /// True while a transfer over the network runs.
    bool hasReply() const { return !m_reply.isNull(); }

    /// Where the bytes that came begin: the offset that was asked for, or 0 when the whole came instead.
    qint64 offset() const { return m_options.offset; }
    /// The strong entity tag of the answer, else its date; empty when it has neither. From began() on.
    QByteArray validator() const;
    /// Whether the transfer failed because the server does not send the rest that it was asked for.
    bool isRestRefused() const { return m_isRestRefused; }
    /// All bytes, once they are there. With a device, those that were unread when the transfer ended.
    QByteArray data() const { return m_state == Running ? QByteArray() : m_data; }
    /// The SHA-1 of what came, as raw bytes.
    QByteArray digest() const;
    /// Counts in what the transfer did not receive, such as the bytes before the offset.
    void addToDigest(const QByteArray& bytes) { m_digest.addData(bytes); }

    /// 0 after a success, else a `QNetworkReply::NetworkError`: the reply's own; 203 for a local file that cannot be
    /// opened; 99 for a request that cannot be started; 4 after too long a silence or too slow a time; 5 when the
    /// transfer was broken off by `cancel()`, by the size limit or by a device that does not take the bytes.
    int error() const { return m_error; }
    /// Why the transfer failed, for the log; without the URL. Empty after a success.
    QString errorString() const { return m_errorString; }

    /// Takes what the reply holds so far: what its signal `readyRead` does.
    void arrive();
    /// Takes the rest and ends the transfer if @p reply is its own: what the reply's signal `finished` does.
    void finish(const QNetworkReply* reply);

signals:
    /// The answer is a file, and its first byte is about to be taken; offset() is settled.
    void began();
    void progress(qint64 bytesReceived, qint64 bytesTotal);
    /// The transfer has come to an end, whichever.
    void done();

private:
    void readLocalFile(const QString& path);
    bool copy(QFile& file);
    void request();
    void send(QNetworkAccessManager& network);
    void connectReply();
    int patience() const;
    void checkSilence();
    void sendAgain();
    bool hasDiedOnTheWay() const;
    void checkRate();
    void take(const QByteArray& bytes);
    void begin();
    void checkOffset();
    void beginAnew();
    bool isTooLong(qint64 bytes) const;
    bool isCutShort() const;
    void endTooLong();
    QString writeFault() const;
    void succeed();
    void fail(int error, const QString& reason);
    void end(State state, int error, const QString& reason);
    void releaseReply();

    cConnections& m_connections;
    const QUrl m_url;
    Options m_options;
    const bool m_hasDevice;
    const QPointer<QIODevice> m_device;

    State m_state = Idle;
    QNetworkRequest m_request;
    bool m_mayBeLost = false; // as long as no answer has begun on what may be a kept connection
    QPointer<QNetworkReply> m_reply;
    bool m_hasBegun = false;
    bool m_isRestRefused = false;
    qint64 m_taken = 0; // bytes that have come, into m_data or the device
    QByteArray m_data;
    QCryptographicHash m_digest{QCryptographicHash::Sha1};
    int m_error = QNetworkReply::NoError;
    QString m_errorString;
    QElapsedTimer m_silence;  // since something last arrived
    QElapsedTimer m_window;   // in which the rate is held against the least one
    qint64 m_takenBefore = 0; // m_taken when the window began
    QTimer m_stallTimer;
};
