#include "config/cConnections.h"
#include "config/cTransfer.h"

#include <HttpSite.h>
#include <Rows.h>

#include <memory>

using Transfers = QVector<QSharedPointer<cTransfer>>;

/// What tst_cDownloader cannot show: several transfers at a time, and those that begin in the middle of a file.
class tst_cTransfer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.isRunning());
        QVERIFY(m_site.write("a", "hello world"));
    }
    void severalAtATime()
    {
        QBuffer device;
        QVERIFY(device.open(QIODevice::WriteOnly));
        Transfers transfers;
        transfers << make("~trickle=20/a") << make("~trickle=20/a", &device) << make("b") << make("~pause=+6/a");
        QStringList told;
        for (const QSharedPointer<cTransfer>& transfer : transfers) {
            const QString number = QString::number(transfers.indexOf(transfer));
            connect(transfer.data(), &cTransfer::progress, this, [&told, number] { told << number; });
            connect(transfer.data(), &cTransfer::done, this, [&told, number] { told << number + " is done"; });
            transfer->start();
        }
        QTimer::singleShot(100, transfers[3].data(), &cTransfer::cancel);
        cTransfer::wait(transfers);
        QCOMPARE(transfers[0]->data(), QByteArray("hello world"));
        QCOMPARE(device.data(), QByteArray("hello world"));
        QCOMPARE(transfers[1]->digest(), transfers[0]->digest());
        QCOMPARE(transfers[2]->errorString(), QString("the server answers 404 Not Found"));
        QCOMPARE(transfers[3]->state(), cTransfer::Cancelled);
        const int firstEnd = qMin(told.indexOf("0 is done"), told.indexOf("1 is done"));
        QVERIFY2(told.mid(0, firstEnd).contains("0"), qPrintable(told.join(' ')));
        QVERIFY2(told.mid(0, firstEnd).contains("1"), qPrintable(told.join(' ')));
        QCOMPARE(told.filter("done").size(), transfers.size());
    }
    void beginsInTheMiddle_data()
    {
        const Rows<QString, QByteArray, QByteArray, QByteArray, int> row("url", "validator", "before", "after",
                                                                         "offset");
        row("the rest", "~tag=1/a", "\"1\"", "HELLO ", "HELLO world", 6);
        row("without a validator", "~tag=1/a", "", "HELLO ", "HELLO world", 6);
        row("from elsewhere", "~redirect=%2F~tag%3D1/a", "\"1\"", "HELLO ", "HELLO world", 6);
        row("in chunks", "~chunked/~tag=1/a", "\"1\"", "HELLO ", "HELLO world", 6);
        row("changed meanwhile", "~tag=2/a", "\"1\"", "HELLO ", "hello world", 0);
        row("changed meanwhile, and shorter", "~tag=2/a", "\"1\"", "HELLO, WORLD AND ALL", "hello world", 0);
        row("no ranges", "~noranges/a", "\"1\"", "HELLO ", "hello world", 0);
        row("local file", "file:a", "", "HELLO ", "hello world", 0);
        row("another part", "~shift=1/~tag=1/a", "\"1\"", "HELLO ", "HELLO ", -1);
        row("a part of another file", "~wrong=2/~tag=1/a", "\"1\"", "HELLO ", "HELLO ", -1);
        row("nothing is left", "~tag=1/a", "\"1\"", "HELLO WORLD", "HELLO WORLD", -1);
        row("absent", "b", "\"1\"", "HELLO ", "HELLO ", -1);
        row("cut short", "~promise=1/~tag=1/a", "\"1\"", "HELLO ", "HELLO world", -1);
        row("too long as a whole", "~fill=100/~tag=1/a", "\"1\"", "HELLO ", "HELLO ", -1);
    }
    /// An offset of -1 stands for a failure.
    void beginsInTheMiddle()
    {
        QFETCH(QString, url);
        QFETCH(QByteArray, validator);
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        QFETCH(int, offset);
        QTemporaryFile device;
        QVERIFY(device.open());
        QCOMPARE(device.write(before), before.size());
        cTransfer::Options options;
        options.sizeLimit = 110;
        options.offset = before.size();
        options.validator = validator;
        const auto transfer = QSharedPointer<cTransfer>::create(m_manager, urlOf(url), options, &device);
        QSignalSpy progress(transfer.data(), &cTransfer::progress);
        transfer->start();
        cTransfer::wait({transfer});
        QCOMPARE(transfer->hasSucceeded(), offset >= 0);
        QVERIFY(device.seek(0));
        QCOMPARE(device.readAll(), after);
        if (offset < 0)
            return;
        QCOMPARE(transfer->offset(), qint64(offset));
        QCOMPARE(transfer->digest(), QCryptographicHash::hash(after.mid(offset), QCryptographicHash::Sha1));
        QVERIFY(url.contains("chunked") || progress.contains({11LL, 11LL}));
    }
    void outlivesAKeptConnection_data()
    {
        const Rows<QString, QString> row("first", "requests");
        row("kept", "~leave=/a", "/b");
        row("closed after the answer", "~leave=now/a", "/b");
        row("closed before the request", "~leave=next/a", "/b");
        row("closed in the middle of it", "~leave=middle/a", "/b /b");
        row("silent", "~leave=mute/a", "/b /b");
    }
    void outlivesAKeptConnection()
    {
        QFETCH(QString, first);
        QVERIFY(m_site.write("b", "once more"));
        cTransfer::Options options;
        options.stallTimeout = 1000;
        QFETCH(QString, requests);
        QString seen;
        // Now and then the connection is not free again when the next request wants it, which then gets one of its own.
        for (int i = 0; i < 20 && seen != requests; ++i) {
            m_manager.clearConnectionCache();
            QCOMPARE(run(urlOf(first), options)->data(), QByteArray("hello world"));
            m_site.takeRequests();
            const auto second = run(urlOf("b"), options);
            QCOMPARE(second->errorString(), QString());
            QCOMPARE(second->data(), QByteArray("once more"));
            seen = m_site.takeRequests().join(' ');
        }
        QCOMPARE(seen, requests);
    }
    void endsWhatIsTooSlow_data()
    {
        const Rows<QString, int, QString> row("url", "leastRate", "reason");
        row("never silent, but slow", "~trickle=150/a", 10, "slower than 10 bytes a second for 1000 ms");
        row("slow enough", "~trickle=150/a", 2, "");
        row("as slow as it likes", "~trickle=150/a", 0, "");
    }
    void endsWhatIsTooSlow()
    {
        const auto [url, leastRate, reason] = cells<QString, int, QString>("url", "leastRate", "reason");
        cTransfer::Options options;
        options.leastRate = leastRate;
        options.rateWindow = 1000;
        const auto transfer = run(urlOf(url), options);
        QCOMPARE(transfer->errorString(), reason);
        QCOMPARE(transfer->data(), reason.isEmpty() ? QByteArray("hello world") : QByteArray());
    }
    void boundsTheMemoryByTheLimit_data()
    {
        const Rows<QString, bool, QString> row("url", "isIntoADevice", "reason");
        row("into memory", "~endless/a", false, "more bytes than are accepted");
        row("into a device", "~endless/a", true, "more bytes than are accepted");
        row("an error", "~endless/~status=500/a", false, "the server answers 500 By Request");
    }
    void boundsTheMemoryByTheLimit()
    {
        constexpr qint64 Limit = 8 << 20;
        const auto [url, isIntoADevice, reason] = cells<QString, bool, QString>("url", "isIntoADevice", "reason");
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizer's own memory is part of the peak");
#endif
        QFile device(QDir::root().filePath("dev/null"));
        cTransfer::Options options;
        options.sizeLimit = Limit;
        if (!device.open(QIODevice::WriteOnly) || !forgetPeak())
            QSKIP("Linux tells the peak of a process's memory");
        const qint64 before = peak();
        const auto transfer = isIntoADevice ? run(urlOf(url), options, &device) : run(urlOf(url), options);
        QCOMPARE(transfer->errorString(), reason);
        QVERIFY2(peak() - before < Limit + (4 << 20), qPrintable(QString::number(peak() - before)));
    }
    void copiesALocalFileOfAnySize()
    {
        constexpr qint64 Size = (qint64(2) << 30) + 5; // more than a byte array holds; a file with a hole takes no room
        QFile large(QDir(m_site.folder()).absoluteFilePath("large"));
        QVERIFY(large.open(QIODevice::ReadWrite));
        if (!large.resize(Size) || !large.seek(Size - 5) || large.write("hello") != 5 || !large.flush())
            QSKIP("the disk takes no such file");
        struct Counter : QIODevice
        {
            Counter() { open(QIODevice::WriteOnly); }
            qint64 readData(char*, qint64) override { return -1; }
            qint64 writeData(const char* bytes, qint64 size) override
            {
                count += size;
                end = QByteArray(bytes, int(size)).right(5);
                return size;
            }
            qint64 count = 0;
            QByteArray end;
        } device;
        const QUrl url = QUrl::fromLocalFile(large.fileName());
        auto transfer = run(url, cTransfer::Options(), &device);
        QVERIFY2(transfer->hasSucceeded(), qPrintable(transfer->errorString()));
        QCOMPARE(device.count, Size);
        QCOMPARE(device.end, QByteArray("hello"));
        QCOMPARE(run(url, cTransfer::Options())->errorString(), QString("the file is too long"));
        QVERIFY(large.remove());
    }
    void outlivesWhoeverWaits()
    {
        struct Waiter
        {
            cConnections manager;
            Transfers transfers;
        };
        for (const bool isDestroyed : {false, true}) {
            auto waiter = std::make_unique<Waiter>();
            for (int i = 0; i < 2; ++i) {
                waiter->transfers << QSharedPointer<cTransfer>::create(waiter->manager, m_site.url("~trickle=20/a"),
                                                                       cTransfer::Options());
                waiter->transfers[i]->start();
            }
            const QPointer<cTransfer> first = waiter->transfers[0].data();
            QStringList ends;
            connect(first, &cTransfer::done, this, [&] { ends << first->errorString(); });
            QTimer::singleShot(100, this, [&] {
                if (isDestroyed)
                    waiter.reset();
                else
                    waiter->transfers.clear();
            });
            cTransfer::wait(waiter->transfers);
            QCOMPARE(ends, QStringList(isDestroyed ? "the network manager is gone" : ""));
            QVERIFY(first.isNull());
        }
    }

private:
    QUrl urlOf(const QString& path) const
    {
        return path.startsWith("file:") ? m_site.fileUrl(path.mid(5)) : m_site.url(path);
    }
    QSharedPointer<cTransfer> make(const QString& path, std::optional<QIODevice*> device = std::nullopt)
    {
        return QSharedPointer<cTransfer>::create(m_manager, m_site.url(path), cTransfer::Options(), device);
    }

    QSharedPointer<cTransfer> run(const QUrl& url, const cTransfer::Options& options,
                                  std::optional<QIODevice*> device = std::nullopt)
    {
        const auto transfer = QSharedPointer<cTransfer>::create(m_manager, url, options, device);
        transfer->start();
        cTransfer::wait({transfer});
        return transfer;
    }
    /// The most memory that this process has had since forgetPeak(), in bytes.
    static qint64 peak()
    {
        QFile status("/proc/self/status");
        const QByteArray lines = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
        return lines.mid(lines.indexOf("VmHWM:") + 6).trimmed().split(' ').first().toLongLong() * 1024;
    }
    static bool forgetPeak()
    {
        QFile refs("/proc/self/clear_refs");
        return refs.open(QIODevice::WriteOnly) && refs.write("5") == 1 && refs.flush();
    }

    HttpSite m_site;
    cConnections m_manager;
};

QTEST_GUILESS_MAIN(tst_cTransfer)
#include "tst_cTransfer.moc"
