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
        QVERIFY(m_site.isRunning());
        QVERIFY(m_site.write("a", Text) && m_site.write("empty", QByteArray()));
    }
    void slotsStandInTheirOrder()
    {
        QStringList names;
        const QMetaObject& meta = cDownloader::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            names << meta.method(i).methodSignature();
        QCOMPARE(names.join(' '), QString("progress(qlonglong,qlonglong) onProgress(qlonglong,qlonglong) "
                                          "replyFinished(QNetworkReply*) cancel() onReadyRead()"));
    }
    void fetches_data()
    {
        const Rows<QString, int, QByteArray> row("url", "error", "received");
        row("plain", "a", 0, Text);
        row("nothing", "empty", 0, "");
        row("in chunks", "~chunked/a", 0, Text);
        row("of unknown length", "~unsized/a", 0, Text);
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
        row("silent in the body", "~pause=45/a", QNetworkReply::TimeoutError, "hello ");
        row("no server", "http://127.0.0.1:1/", QNetworkReply::ConnectionRefusedError, "");
        row("no such scheme", "nonsense:a", QNetworkReply::ProtocolUnknownError, "");
        if (!QT_CONFIG(ssl))
            row("HTTPS with a Qt that has none", "https://127.0.0.1:1/", QNetworkReply::ProtocolUnknownError, "");
        row("no URL", "http:///", QNetworkReply::HostNotFoundError, "");
        row("too many bytes promised", "~fill=2000000/a", QNetworkReply::OperationCanceledError, "");
        row("too many bytes in chunks", "~chunked/~fill=2000000/a", QNetworkReply::OperationCanceledError, "");
    }
    void fetches()
    {
        QFETCH(QString, url);
        QFETCH(int, error);
        QFETCH(QByteArray, received);
        cDownloader downloader;
        if (error == QNetworkReply::TimeoutError || url.contains("trickle"))
            downloader.setStallTimeout(1000); // the slow transfer takes longer
        downloader.setSizeLimit(1000000);
        const QUrl source = url.contains(':') && !url.startsWith('~') ? QUrl(url) : m_site.url(url);
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
            QVERIFY(device.data() == whole && downloader.digestResult() == sha1(whole) && downloader.data().isEmpty());
            // The reply's own progress, then that of what was left.
            QVERIFY(progress.contains({3000011LL, 3000011LL}) && progress.last() == QVariantList({0LL, 0LL}));
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
    void readsLocalFiles_data()
    {
        const Rows<QString, int, QString> row("name", "error", "progress");
        row("file", "a", 0, "0/11 11/11");
        row("empty", "empty", 0, "0/0 0/0");
        row("absent", "b", QNetworkReply::ContentNotFoundError, "");
        row("a folder", ".", QNetworkReply::ContentNotFoundError, "");
        row("a device without an end", "/dev/zero", QNetworkReply::ContentNotFoundError, "");
        if (Platform::hasUnixFiles()) // Windows has no such file
            row("not readable", "/proc/self/mem", QNetworkReply::UnknownContentError, "0/0");
        const QString program = QCoreApplication::applicationFilePath();
        const QString size = QString::number(QFileInfo(program).size());
        row("too long", program, QNetworkReply::OperationCanceledError, "0/" + size);
    }
    void readsLocalFiles()
    {
        QFETCH(QString, name);
        QFETCH(int, error);
        const QUrl url = QUrl::fromLocalFile(QDir(m_site.folder()).absoluteFilePath(name));
        OpenBuffer buffer;
        for (QIODevice* device : {static_cast<QIODevice*>(nullptr), static_cast<QIODevice*>(&buffer)}) {
            cDownloader downloader;
            downloader.setSizeLimit(1000);
            QStringList progress;
            connect(&downloader, &cDownloader::progress, this, [&](qint64 got, qint64 total) {
                progress << QString("%1/%2").arg(got).arg(total);
                downloader.cancel(); // there is no transfer that it could end
            });
            QCOMPARE(device ? downloader.download(url, device) : downloader.download(url), error == 0);
            QCOMPARE(downloader.error(), error);
            QCOMPARE(downloader.errorString().isEmpty(), error == 0);
            QTEST(progress.join(' '), "progress");
            QVERIFY(downloader.data() == (error == 0 && name == "a" ? Text : QByteArray()));
            QVERIFY(!device || buffer.data() == downloader.data());
            QCOMPARE(downloader.digestResult(), sha1(downloader.data()));
        }
    }
    void survivesWhatHappensMeanwhile_data()
    {
        const Rows<Event, bool, QString, int> row("event", "isSuccess", "reason", "refusals");
        const Event cancel = [](cDownloader* d, QIODevice*) { d->cancel(); };
        const Event startOthers = [](cDownloader* d, QIODevice* device) {
            QVERIFY(!d->download(QUrl("http://127.0.0.1:1/")) && !d->download(QUrl("file:///dev/null"), device));
        };
        const Event keepBusy = [](cDownloader* d, QIODevice*) {
            d->setStallTimeout(1000);
            QThread::msleep(1500);
        };
        const Event close = [](cDownloader*, QIODevice* device) { device->close(); };
        const Event destroyDevice = [](cDownloader*, QIODevice* device) { delete device; };
        const Event destroy = [](cDownloader* d, QIODevice*) { delete d; };
        row("cancelled", cancel, false, "Operation canceled", 0);
        row("asked for others", startOthers, true, "", 2);
        row("the thread is kept busy", keepBusy, true, "", 0);
        row("the device is closed", close, false, "takes no bytes", 0);
        row("the device is destroyed", destroyDevice, false, "is gone", 0);
        row("the downloader is destroyed", destroy, false, "", 0);
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
                QVERIFY(downloader->isCancelled() == reason.contains("cancel") && !downloader->hasReply());
                // The next transfer begins with nothing of this one.
                QVERIFY(downloader->download(m_site.url("a")) && downloader->data() == Text);
                QVERIFY(!downloader->isCancelled() && downloader->error() == 0);
            }
            QTEST(log.close().count("Not fetched while another transfer waits"), "refusals");
            delete downloader;
            delete device;
        }
    }
    void digestsTwiceWhatIsUnreadAtTheEnd()
    {
        cDownloader downloader;
        OpenBuffer device;
        QTimer::singleShot(0, &downloader, [&] {
            downloader.findChild<QNetworkReply*>()->disconnect(SIGNAL(readyRead()), &downloader);
        });
        QVERIFY(downloader.download(m_site.url("a", "~trickle=5"), &device) && device.data() == Text);
        QVERIFY(downloader.data() == Text && downloader.digestResult() == sha1(Text + Text));
    }
    void stopsAtOnceAndSleepsMeanwhile()
    {
        cDownloader downloader;
        OpenBuffer device;
        int wakeUps = 0;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &downloader,
                [&] { ++wakeUps; });
        for (const bool isInMemory : {true, false}) {
            // The silence would last 30 seconds, and with it the wait.
            QTimer::singleShot(500, &downloader, &cDownloader::cancel);
            const QUrl url = m_site.url("a", "~pause=45");
            QVERIFY(!(isInMemory ? downloader.download(url) : downloader.download(url, &device)));
            QCOMPARE(downloader.error(), int(QNetworkReply::OperationCanceledError));
        }
        QVERIFY2(wakeUps < 200, qPrintable(QString::number(wakeUps)));
    }
    void tellsAFullDisk()
    {
        QFile full("/dev/full");
        if (!full.open(QIODevice::WriteOnly))
            QSKIP("a disk that is always full is needed");
        cDownloader downloader;
        for (const QUrl& url : {m_site.url("a"), QUrl::fromLocalFile(m_site.folder() + "/a")}) {
            QVERIFY(!downloader.download(url, &full) && !downloader.hasSucceeded());
            QVERIFY2(downloader.errorString().contains(Platform::diskFullText()), qPrintable(downloader.errorString()));
        }
    }

private:
    void endAtAnyByte(const QString& fault, int step = 1)
    {
        // "HTTP/1.1 200 OK", the length, an empty line and the body. What comes after a connection that was closed or
        // reset at its end must not be lost on it, which happens to one in thirty.
        const int whole = 17 + 20 + 2 + Text.size();
        cDownloader downloader;
        for (int length = 0; length <= whole + 60; length += step) {
            const bool isWhole = downloader.download(m_site.url("a", fault.arg(length)));
            QVERIFY2(isWhole == (length >= whole), qPrintable(fault.arg(length)));
            QVERIFY(downloader.data() == (isWhole ? Text : QByteArray()) && !downloader.hasReply());
            QCOMPARE(downloader.error(), int(isWhole ? QNetworkReply::NoError : QNetworkReply::RemoteHostClosedError));
        }
    }

    HttpSite m_site;
};

QTEST_GUILESS_MAIN(tst_cDownloader)
#include "tst_cDownloader.moc"
