#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCryptographicHash>
#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QUrl>
#include <QtNetwork/QNetworkReply>

class QIODevice;
class QNetworkAccessManager;

/**
 * Fetches one URL after the other and waits for it: HTTP, HTTPS or a local file, into memory or into a device. Every
 * byte goes through a SHA-1 digest; nothing is compared with it here. An answer shorter than the length it promises
 * fails; one without a length ends with its connection, so that only the digest or the content tells whether it is
 * whole.
 *
 * A transfer blocks its caller and serves the thread's event loop meanwhile. What those events run may cancel the
 * transfer, destroy the device or the downloader itself, or ask for another transfer, which is refused. Redirects are
 * followed unless they lead from HTTPS to HTTP. Lives on the thread that uses it.
 */
class cDownloader : public QObject
{
    Q_OBJECT

public:
    explicit cDownloader(QObject* parent = nullptr);
    ~cDownloader() override;

    /// Fetches into memory: `data()` has the bytes. @return whether the transfer succeeded; if not, `error()` and
    /// `errorString()` say why. A call while a transfer waits is false, is logged and leaves that transfer alone.
    [[nodiscard]] bool download(const QUrl& url);

    /// Fetches into @p device, which is open for writing and stays the caller's; bytes are written as they arrive, so
    /// after a failure a part may have been written. `data()` has only what was unread when the transfer ended, or all
    /// of a local file. Otherwise as the download into memory.
    [[nodiscard]] bool download(const QUrl& url, QIODevice* device);

    QByteArray data() const { return m_data; }

    /// The SHA-1 of what was received, as raw bytes.
    QByteArray digestResult() const { return m_digest.result(); }

    /// 0 after a success, else a `QNetworkReply::NetworkError`: the reply's own; 203 for a local file that cannot be
    /// opened; 99 for a request that cannot be started; 4 after too long a silence; 5 when the transfer was broken off
    /// by `cancel()`, by the size limit or by a device that does not take the bytes.
    int error() const { return m_error; }

    /// Why the last transfer failed, for the log; without the URL. Empty after a success.
    QString errorString() const { return m_errorString; }

    bool isCancelled() const { return m_cancelled; }
    bool hasSucceeded() const { return m_succeeded; }

    /// True while a transfer over the network waits.
    bool hasReply() const { return !m_reply.isNull(); }

    /// A transfer of more than @p bytes is broken off and fails. 0, the default, means none.
    void setSizeLimit(qint64 bytes) { m_sizeLimit = bytes; }

    /// A transfer that receives nothing for @p milliseconds fails. The head of an answer counts as a whole.
    void setStallTimeout(int milliseconds) { m_stallTimeout = milliseconds; }

signals:
    void progress(qint64 bytesReceived, qint64 bytesTotal);

public slots:
    /// Re-emits the progress of the reply.
    void onProgress(qint64 bytesReceived, qint64 bytesTotal);
    /// Takes what the reply still holds and ends the wait.
    void replyFinished(QNetworkReply* pReply);
    /// Aborts the transfer that waits, if any.
    void cancel();
    /// Passes on what has arrived to the device.
    void onReadyRead();

private:
    enum Target { Memory, Device };

    bool run(const QUrl& url, Target target, QIODevice* device);
    void reset();
    void readLocalFile(const QString& path);
    void fetch(const QUrl& url);
    void connectReply();
    void wait();
    void noteArrival();
    bool isTooLong(qint64 bytes) const;
    bool isCutShort(const QNetworkReply& reply) const;
    void writeToOutput(const QByteArray& bytes);
    void flushOutput();
    void breakOff(int error, const QString& reason);

    QNetworkAccessManager* m_manager;
    QPointer<QNetworkReply> m_reply;
    int m_error = 0;
    QCryptographicHash m_digest{QCryptographicHash::Sha1};
    QByteArray m_data;
    bool m_finished = false;
    bool m_cancelled = false;
    bool m_succeeded = false;
    QPointer<QIODevice> m_output;

    QString m_errorString;
    Target m_target = Memory;
    bool m_isBusy = false;
    bool m_isBrokenOff = false; // by us, whatever the reply says afterwards
    qint64 m_written = 0;       // bytes passed on to the device
    qint64 m_sizeLimit = 0;
    int m_stallTimeout = 30000;
    QElapsedTimer m_silence; // since something last arrived
};
