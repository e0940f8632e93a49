#include "config/cDownloader.h"

#include <HttpSite.h>
#include <LogFile.h>
#include <Rows.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QBuffer>
#include <QtCore/QTimer>
#include <QtNetwork/QNetworkAccessManager>

static const QByteArray Text = "hello world";

static QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

/// What can happen to a transfer while it waits.
enum Event { CancelIt, StartAnother, CloseDevice, DestroyDevice, DestroyDownloader, LeaveUnread };
Q_DECLARE_METATYPE(Event)

class tst_cDownloader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.isRunning() && m_secureSite.isRunning());
        QVERIFY(m_site.write("a", Text) && m_site.write("empty", QByteArray()) && m_secureSite.write("a", Text));
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
        if (error == QNetworkReply::TimeoutError)
            downloader.setStallTimeout(300);
        else if (url.contains("trickle"))
            downloader.setStallTimeout(1500); // less than the whole takes
        downloader.setSizeLimit(1000000);
        const QUrl source = url.contains(':') && !url.startsWith('~') ? QUrl(url) : m_site.url(url);
        QCOMPARE(downloader.download(source), error == 0);
        QCOMPARE(downloader.data(), error == 0 ? received : QByteArray());
        QCOMPARE(downloader.digestResult(), sha1(downloader.data()));
        QCOMPARE(downloader.error(), error);
        QCOMPARE(downloader.errorString().isEmpty(), error == 0);

        QBuffer device;
        QVERIFY(device.open(QIODevice::WriteOnly));
        QCOMPARE(downloader.download(source, &device), error == 0);
        QCOMPARE(downloader.error(), error);
        // What is beyond a limit may have come together with what is before it.
        QCOMPARE(device.data().left(received.size()), received);
        QVERIFY(error == QNetworkReply::OperationCanceledError ? device.size() <= 1000000 : device.data() == received);
        QVERIFY(error != 0 || downloader.digestResult() == sha1(received));
    }
    void passesOnWhatIsLarge_data()
    {
        // Much more than what may lie between the network and the device.
        const Rows<QString, bool> row("faults", "isSecure");
        row("plain", "", false);
        row("in chunks", "~chunked/", false);
        row("of unknown length", "~unsized/", false);
        row("over HTTPS", "", true);
    }
    void passesOnWhatIsLarge()
    {
        QFETCH(QString, faults);
        QFETCH(bool, isSecure);
        const QByteArray whole = Text + QByteArray(3000000, '\0');
        QBuffer device;
        QVERIFY(device.open(QIODevice::WriteOnly));
        cDownloader downloader;
        trust(downloader);
        QStringList progress;
        connect(&downloader, &cDownloader::progress, &downloader,
                [&](qint64 got, qint64 total) { progress << QString("%1/%2").arg(got).arg(total); });
        const QUrl url = (isSecure ? m_secureSite : m_site).url("a", faults + "~fill=3000000");
        QVERIFY(downloader.download(url, &device) && downloader.error() == 0);
        QVERIFY(device.data() == whole && downloader.digestResult() == sha1(whole) && downloader.data().isEmpty());
        // The reply's own progress, then that of what was left.
        QVERIFY(progress.contains("3000011/3000011") && progress.last() == "0/0");
    }
    void survivesACutAtAnyByte()
    {
        // "HTTP/1.1 200 OK", the length, an empty line and the body.
        const int whole = 17 + 20 + 2 + Text.size();
        cDownloader downloader;
        for (int length = 0; length <= whole + 10; ++length) {
            for (const char* fault : {"~cut=%1", "~reset=%1"}) {
                const QUrl url = m_site.url("a", QString(fault).arg(length));
                const bool isWhole = length >= whole;
                QVERIFY2(downloader.download(url) == isWhole, qPrintable(url.path() + downloader.errorString()));
                QVERIFY(downloader.data() == (isWhole ? Text : QByteArray()) && !downloader.hasReply());
                QVERIFY(isWhole || downloader.error() == QNetworkReply::RemoteHostClosedError);
            }
        }
    }
    void readsLocalFiles_data()
    {
        const Rows<QString, int, QString> row("name", "error", "progress");
        row("file", "a", 0, "0/11 11/11");
        row("empty", "empty", 0, "0/0 0/0");
        row("absent", "b", QNetworkReply::ContentNotFoundError, "");
        row("a folder", ".", QNetworkReply::ContentNotFoundError, "");
        row("a device without an end", "/dev/zero", QNetworkReply::ContentNotFoundError, "");
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
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
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
        const Rows<Event, bool, QString> row("event", "isSuccess", "reason");
        row("cancelled", CancelIt, false, "Operation canceled");
        row("asked for another one", StartAnother, true, "");
        row("the device is closed", CloseDevice, false, "the device takes no bytes");
        row("the device is destroyed", DestroyDevice, false, "the device to write to is gone");
        row("the downloader is destroyed", DestroyDownloader, false, "");
        row("bytes stay unread", LeaveUnread, true, "");
    }
    void survivesWhatHappensMeanwhile()
    {
        QFETCH(Event, event);
        QFETCH(bool, isSuccess);
        QFETCH(QString, reason);
        // Before anything has come, and from the progress signal of the transfer itself.
        for (const bool isByTimer : {true, false}) {
            const LogFile log;
            QPointer<QBuffer> device(new QBuffer);
            device->open(QIODevice::WriteOnly);
            QPointer<cDownloader> downloader(new cDownloader);
            bool isDone = false;
            const auto happen = [&] {
                if (!isDone)
                    apply(event, downloader, device);
                isDone = true;
            };
            if (isByTimer)
                QTimer::singleShot(0, downloader, happen);
            else
                connect(downloader, &cDownloader::progress, downloader, happen);
            QCOMPARE(downloader->download(m_site.url("a", "~trickle=20"), device), isSuccess);
            QVERIFY(isDone);
            QCOMPARE(downloader.isNull(), event == DestroyDownloader);
            if (downloader) {
                QVERIFY2(downloader->errorString().contains(reason), qPrintable(downloader->errorString()));
                QVERIFY(downloader->isCancelled() == (event == CancelIt) && !downloader->hasReply());
                // The next transfer begins with nothing of this one.
                const QByteArray digest = downloader->digestResult();
                QVERIFY(downloader->download(m_site.url("a")) && downloader->data() == Text);
                QVERIFY(!downloader->isCancelled() && downloader->error() == 0);
                QVERIFY2(!isByTimer || event != LeaveUnread || digest == sha1(Text + Text),
                         "what is unread at the end is digested twice");
            }
            QVERIFY(!isSuccess || device->data() == Text);
            QCOMPARE(log.close().count("Not fetched while another transfer waits"), event == StartAnother ? 2 : 0);
            delete downloader;
            delete device;
        }
    }
    void stopsAtOnceAndSleepsMeanwhile()
    {
        cDownloader downloader;
        QBuffer device;
        QVERIFY(device.open(QIODevice::WriteOnly));
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
        QVERIFY(full.open(QIODevice::WriteOnly));
        cDownloader downloader;
        for (const QUrl& url : {m_site.url("a"), QUrl::fromLocalFile(m_site.folder() + "/a")}) {
            QVERIFY(!downloader.download(url, &full) && !downloader.hasSucceeded());
            QVERIFY2(downloader.errorString().contains("No space"), qPrintable(downloader.errorString()));
        }
    }
    void neverLeavesHttps_data()
    {
        const Rows<bool, bool, int> row("isToHttp", "isTrusted", "error");
        row("to itself", false, true, 0);
        row("to HTTP", true, true, QNetworkReply::InsecureRedirectError);
        row("to a server that nobody vouches for", false, false, QNetworkReply::SslHandshakeFailedError);
    }
    void neverLeavesHttps()
    {
        QFETCH(bool, isToHttp);
        QFETCH(bool, isTrusted);
        cDownloader downloader;
        if (isTrusted)
            trust(downloader);
        const QString target = (isToHttp ? m_site : m_secureSite).url().toString(QUrl::StripTrailingSlash);
        m_site.takeRequests();
        (void)downloader.download(m_secureSite.url("a", "~redirect=" + QUrl::toPercentEncoding(target)));
        QTEST(downloader.error(), "error");
        QVERIFY(m_site.takeRequests().isEmpty());
    }

private:
    static void trust(cDownloader& downloader)
    {
        connect(downloader.findChild<QNetworkAccessManager*>(), &QNetworkAccessManager::sslErrors, &downloader,
                [](QNetworkReply* reply) { reply->ignoreSslErrors(); });
    }

    void apply(Event event, cDownloader* downloader, QBuffer* device)
    {
        switch (event) {
        case CancelIt:
            return downloader->cancel();
        case StartAnother:
            QVERIFY(!downloader->download(m_site.url("b")));
            QVERIFY(!downloader->download(QUrl::fromLocalFile("/dev/null"), device));
            return;
        case CloseDevice:
            return device->close();
        case DestroyDevice:
            delete device;
            return;
        case DestroyDownloader:
            delete downloader;
            return;
        case LeaveUnread:
            downloader->findChild<QNetworkReply*>()->disconnect(SIGNAL(readyRead()), downloader);
        }
    }

    HttpSite m_site;
    HttpSite m_secureSite{true};
};

QTEST_GUILESS_MAIN(tst_cDownloader)
#include "tst_cDownloader.moc"
