#include "config/cDownloader.h"

#include <HttpSite.h>
#include <LogFile.h>
#include <Platform.h>
#include <Rows.h>

#include <QtNetwork/qtnetworkglobal.h>

static const QByteArray Text = "hello world";

static QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

struct OpenBuffer : QBuffer
{
    OpenBuffer() { open(QIODevice::WriteOnly); }
};

/// What happens to a transfer while it waits.
using Event = void (*)(cDownloader*, QIODevice*);
Q_DECLARE_METATYPE(Event)

class tst_cDownloader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.write("a", Text));
        QVERIFY(m_site.write("empty", ""));
        QVERIFY(m_site.write("large", QByteArray(1000001, 'x')));
    }
    void fetches_data()
    {
        const Rows<QString, int, QByteArray> row("url", "error", "received");
        row("plain", "a", 0, Text);
        row("nothing", "empty", 0, "");
        row("slow, but never silent", "~trickle=150/a", 0, Text);
        row("from elsewhere", "~redirect/~redirect/a", 0, Text);
        row("longer than promised", "~promise=-6/a", 0, "hello");
        row("shorter than promised", "~promise=1/a", QNetworkReply::RemoteHostClosedError, Text);
        row("absent", "b", QNetworkReply::ContentNotFoundError, "no such file");
        row("broken server", "~status=500/a", QNetworkReply::InternalServerError, "no file");
        row("not HTTP", "~garbage/a", QNetworkReply::RemoteHostClosedError, "");
        row("in a circle", "~circle/a", QNetworkReply::TooManyRedirectsError, "");
        row("to a local file", "~redirect=file%3A%2F%2F/etc/passwd", QNetworkReply::ProtocolUnknownError, "");
        row("no answer", "~pause=0/a", QNetworkReply::TimeoutError, "");
        row("silent in the head", "~pause=20/a", QNetworkReply::TimeoutError, "");
        row("silent in the body", "~pause=+6/a", QNetworkReply::TimeoutError, "hello ");
        row("no server", "http://127.0.0.1:1/", QNetworkReply::ConnectionRefusedError, "");
        row("no such scheme", "nonsense:a", QNetworkReply::ProtocolUnknownError, "");
        if (!QT_CONFIG(ssl))
            row("HTTPS with a Qt that has none", "https://127.0.0.1:1/", QNetworkReply::ProtocolUnknownError, "");
        row("no URL", "http:///", QNetworkReply::HostNotFoundError, "");
        row("local file", "file:a", 0, Text);
        row("empty local file", "file:empty", 0, "");
        row("absent local file", "file:b", QNetworkReply::ContentNotFoundError, "");
        row("a folder", "file:.", QNetworkReply::ContentNotFoundError, "");
        row("a device without an end", "file:/dev/zero", QNetworkReply::ContentNotFoundError, "");
        if (Platform::hasUnixFiles()) // Windows has no such file
            row("local file that cannot be read", "file:/proc/self/mem", QNetworkReply::UnknownContentError, "");
        row("local file that is too long", "file:large", QNetworkReply::OperationCanceledError, "");
        row("too many bytes promised", "~fill=2000000/a", QNetworkReply::OperationCanceledError, "");
        row("too many bytes in chunks", "~chunked/~fill=2000000/a", QNetworkReply::OperationCanceledError, "");
    }
    void fetches()
    {
        const auto [url, error, received] = cells<QString, int, QByteArray>("url", "error", "received");
        cDownloader downloader;
        if (error == QNetworkReply::TimeoutError || url.contains("trickle"))
            downloader.setStallTimeout(1000); // the slow transfer takes longer
        downloader.setSizeLimit(1000000);
        QUrl source = QUrl(url).isRelative() ? m_site.url(url) : QUrl(url);
        if (source.isLocalFile())
            source = m_site.fileUrl(source.path());
        QCOMPARE(downloader.download(source), error == 0);
        QCOMPARE(downloader.data(), error == 0 ? received : QByteArray());
        QCOMPARE(downloader.digestResult(), sha1(downloader.data()));
        QCOMPARE(downloader.error(), error);
        QCOMPARE(downloader.errorString().isEmpty(), error == 0);

        OpenBuffer device;
        QCOMPARE(downloader.download(source, &device), error == 0);
        QCOMPARE(downloader.error(), error);
        // What is beyond a limit may have come together with what is before it.
        QCOMPARE(device.data().left(received.size()), received);
        QVERIFY(error == QNetworkReply::OperationCanceledError ? device.size() <= 1000000 : device.data() == received);
        QVERIFY(error != 0 || downloader.digestResult() == sha1(received));
    }
    void passesOnWhatIsLarge()
    {
        // Much more than what may lie between the network and the device.
        const QByteArray whole = Text + QByteArray(3000000, '\0');
        const QString path = "~fill=3000000/a";
        for (const QUrl& url : {m_site.url(path), m_site.url("~chunked/" + path), m_site.url("~unsized/" + path)}) {
            OpenBuffer device;
            cDownloader downloader;
            QSignalSpy progress(&downloader, &cDownloader::progress);
            QVERIFY2(downloader.download(url, &device), qPrintable(url.path() + downloader.errorString()));
            QVERIFY(device.data() == whole);
            QCOMPARE(downloader.digestResult(), sha1(whole));
            QCOMPARE(downloader.data(), QByteArray());
            // The reply's own progress, then that of what was left.
            QVERIFY(progress.contains({3000011LL, 3000011LL}));
            QCOMPARE(progress.last(), QVariantList({0LL, 0LL}));
        }
    }
    void survivesACutAtAnyByte() { endAtAnyByte("~cut=%1"); }
    void survivesAResetAtAnyByte()
    {
        if (Platform::keepsBytesOverAReset())
            endAtAnyByte("~reset=%1");
        else
            endAtAnyByte("~wait=200/~reset=%1", 7);
    }
    void tellsOfLocalFiles()
    {
        cDownloader downloader;
        downloader.setSizeLimit(1000000);
        QStringList told;
        connect(&downloader, &cDownloader::progress, this, [&](qint64 received, qint64 total) {
            told << QString("%1/%2").arg(received).arg(total);
            downloader.cancel(); // there is no transfer that it could end
        });
        for (const char* name : {"a", "empty", "b", "large"})
            told << (downloader.download(m_site.fileUrl(name)) ? "done" : "failed");
        QCOMPARE(told.join(' '), QString("0/11 11/11 done 0/0 0/0 done failed 0/1000001 failed"));
    }
    void survivesWhatHappensMeanwhile_data()
    {
        const Rows<bool, QString, int, Event> row("isSuccess", "reason", "refusals", "event");
        row("cancelled", false, "Operation canceled", 0, [](cDownloader* d, QIODevice*) { d->cancel(); });
        row("asked for others", true, "", 2, [](cDownloader* d, QIODevice* device) {
            QVERIFY(!d->download(QUrl("http://127.0.0.1:1/")));
            QVERIFY(!d->download(QUrl("file:///dev/null"), device));
        });
        row("the thread is kept busy", true, "", 0, [](cDownloader*, QIODevice*) { QThread::msleep(1500); });
        row("the device is closed", false, "takes no bytes", 0,
            [](cDownloader*, QIODevice* device) { device->close(); });
        row("the device is destroyed", false, "is gone", 0, [](cDownloader*, QIODevice* device) { delete device; });
        row("the downloader is destroyed", false, "", 0, [](cDownloader* d, QIODevice*) { delete d; });
    }
    void survivesWhatHappensMeanwhile()
    {
        QFETCH(bool, isSuccess);
        QFETCH(QString, reason);
        // Before anything has come, and from the progress signal of the transfer itself.
        for (const bool isByTimer : {true, false}) {
            const LogFile log;
            const QPointer<OpenBuffer> device(new OpenBuffer);
            QPointer<cDownloader> downloader(new cDownloader);
            downloader->setStallTimeout(1000);
            QFETCH(Event, event);
            const auto happen = [&] {
                if (const Event once = std::exchange(event, nullptr))
                    once(downloader, device);
            };
            if (isByTimer)
                QTimer::singleShot(0, downloader, happen);
            else
                connect(downloader, &cDownloader::progress, downloader, happen);
            QCOMPARE(downloader->download(m_site.url("a", "~trickle=20"), device), isSuccess);
            QCOMPARE(downloader.isNull(), !isSuccess && reason.isEmpty());
            QVERIFY(!isSuccess || device->data() == Text);
            if (downloader) {
                QVERIFY2(downloader->errorString().contains(reason), qPrintable(downloader->errorString()));
                QCOMPARE(downloader->isCancelled(), reason.contains("cancel"));
                QVERIFY(!downloader->hasReply());
                // The next transfer begins with nothing of this one.
                QVERIFY(downloader->download(m_site.url("a")));
                QCOMPARE(downloader->data(), Text);
                QVERIFY(!downloader->isCancelled());
                QCOMPARE(downloader->error(), 0);
            }
            QTEST(int(log.close().count("Not fetched while another transfer waits")), "refusals");
            delete downloader;
            delete device;
        }
    }
    void digestsTwiceWhatIsUnreadAtTheEnd()
    {
        cDownloader downloader;
        OpenBuffer device;
        QTimer::singleShot(0, &downloader,
                           [&] { downloader.findChild<QNetworkReply*>()->disconnect(SIGNAL(readyRead())); });
        QVERIFY(downloader.download(m_site.url("a", "~trickle=5"), &device));
        QCOMPARE(device.data(), Text);
        QCOMPARE(downloader.data(), Text);
        QCOMPARE(downloader.digestResult(), sha1(Text + Text));
    }
    void stopsAtOnceAndSleepsMeanwhile()
    {
        cDownloader downloader;
        int wakeUps = 0;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &downloader,
                [&] { ++wakeUps; });
        // The silence would last 30 seconds, and with it the wait.
        QTimer::singleShot(500, &downloader, &cDownloader::cancel);
        QVERIFY(!downloader.download(m_site.url("a", "~pause=+6")));
        QCOMPARE(downloader.error(), int(QNetworkReply::OperationCanceledError));
        QVERIFY2(wakeUps < 200, qPrintable(QString::number(wakeUps)));
    }
    // What is expected is under way while another file is fetched, and is not asked for twice.
    void fetchesMeanwhileWhatIsExpected()
    {
        m_site.takeRequests();
        cDownloader downloader;
        downloader.expect(m_site.url("a"));
        QVERIFY(downloader.download(m_site.url("empty", "~delay=100")));
        QVERIFY(m_site.takeRequests().contains("/a"));
        QVERIFY(downloader.download(m_site.url("a")));
        QCOMPARE(downloader.data(), Text);
        QCOMPARE(m_site.takeRequests(), QStringList());
        downloader.expect(m_site.url("a", "~pause=0")); // ends with the downloader
    }
    void tellsAFullDisk()
    {
        QFile full("/dev/full");
        if (!full.open(QIODevice::WriteOnly))
            QSKIP("a disk that is always full is needed");
        cDownloader downloader;
        for (const QUrl& url : {m_site.url("a"), m_site.fileUrl("a")}) {
            QVERIFY(!downloader.download(url, &full));
            QVERIFY(!downloader.hasSucceeded());
            QVERIFY2(downloader.errorString().contains("no space is left on the device that holds "),
                     qPrintable(downloader.errorString()));
        }
    }

private:
    void endAtAnyByte(const QString& fault, int step = 1)
    {
        // "HTTP/1.1 200 OK", the tag, the date, the length, an empty line and the body. What comes after a connection
        // that was closed or reset at its end must not be lost on it, which happens to one in thirty.
        const int whole = 17 + 26 + 46 + 20 + 2 + Text.size();
        cDownloader downloader;
        for (int length = 0; length <= whole + 60; length += step) {
            const bool isWhole = downloader.download(m_site.url("a", fault.arg(length)));
            QVERIFY2(isWhole == (length >= whole), qPrintable(fault.arg(length)));
            QCOMPARE(downloader.data(), isWhole ? Text : QByteArray());
            QVERIFY(!downloader.hasReply());
            QCOMPARE(downloader.error(), int(isWhole ? QNetworkReply::NoError : QNetworkReply::RemoteHostClosedError));
        }
    }

    HttpSite m_site;
};

QTEST_GUILESS_MAIN(tst_cDownloader)
#include "tst_cDownloader.moc"
