#pragma once

#include "config/cTransfer.h"

/**
 * Fetches one URL after the other, each as a `cTransfer`, and waits for it.
 *
 * A transfer blocks its caller and serves the thread's event loop meanwhile. What those events run may cancel the
 * transfer, destroy the device or the downloader itself, or ask for another transfer, which is refused. Lives on the
 * thread that uses it.
 */
class cDownloader : public QObject
{
    Q_OBJECT

public:
    explicit cDownloader(QObject* parent = nullptr);
    ~cDownloader() override;

    /// Fetches into memory: `data()` has the bytes. @return whether the transfer succeeded; if not, `error()` and
    /// `errorString()` say why. A call while a transfer waits is false, is logged and leaves that transfer alone.
    [[nodiscard]] bool download(const QUrl& url) { return run(url, std::nullopt); }

    /// Fetches into @p device, as `cTransfer` describes it. Otherwise as the download into memory.
    [[nodiscard]] bool download(const QUrl& url, QIODevice* device) { return run(url, device); }

    /// Begins to fetch @p url into memory, as set up now. If a download() of it comes after at most one of another URL,
    /// it goes on with that; otherwise nothing comes of it. An empty URL ends what was expected.
    void expect(const QUrl& url);

    // Of the present or the last transfer, as `cTransfer` describes them.

    QByteArray data() const { return m_transfer->data(); }
    /// As the transfer's, but what was unread when a transfer into a device ended is digested twice: the rule of this
    /// system.
    QByteArray digestResult() const { return m_transfer->digest(); }
    int error() const { return m_transfer->error(); }
    QString errorString() const { return m_transfer->errorString(); }
    bool hasSucceeded() const { return m_transfer->hasSucceeded(); }
    bool hasReply() const { return m_transfer->hasReply(); }
    /// Whether `cancel()` has been called since the last transfer began, also when there was nothing to end.
    bool isCancelled() const { return m_isCancelled; }

    /// A later transfer of more than @p bytes is broken off and fails. 0, the default, means none.
    void setSizeLimit(qint64 bytes) { m_options.sizeLimit = bytes; }
    /// A later transfer that receives nothing for @p milliseconds fails.
    void setStallTimeout(int milliseconds) { m_options.stallTimeout = milliseconds; }
    /// A later transfer that receives fewer bytes a second, over @p window milliseconds, fails. 0 for any rate.
    void setLeastRate(int bytesPerSecond, int window = cTransfer::Options().rateWindow)
    {
        m_options.leastRate = bytesPerSecond;
        m_options.rateWindow = window;
    }
    /// The least rate that the machine-wide settings ask for.
    static int leastRateInSettings();

signals:
    void progress(qint64 bytesReceived, qint64 bytesTotal);

public slots:
    /// Re-emits the progress of the transfer.
    void onProgress(qint64 bytesReceived, qint64 bytesTotal) { emit progress(bytesReceived, bytesTotal); }
    /// Takes what the reply still holds and ends the wait.
    void replyFinished(QNetworkReply* pReply) { m_transfer->finish(pReply); }
    /// Ends the transfer over the network that waits, if any.
    void cancel();
    /// Passes on what has arrived to the device.
    void onReadyRead() { m_transfer->arrive(); }

private:
    QSharedPointer<cTransfer> begin(const QUrl& url, std::optional<QIODevice*> device);
    bool run(const QUrl& url, std::optional<QIODevice*> device);

    cConnections* m_connections;
    cTransfer::Options m_options;         // of the transfers to come
    QSharedPointer<cTransfer> m_transfer; // one that never starts before the first
    QSharedPointer<cTransfer> m_expected; // null as a rule
    QUrl m_expectedUrl;
    bool m_isBusy = false; // until download() has returned
    bool m_isCancelled = false;
};
