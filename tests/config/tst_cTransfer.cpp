#include "config/cConnections.h"
#include "config/cTransfer.h"

#include <HttpSite.h>
#include <Rows.h>

#include <memory>

using Transfers = QVector<QSharedPointer<cTransfer>>;

/// What cannot be shown by a downloader, nor by a fetch: kept connections, rates, bounds, and who waits.
class tst_cTransfer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_site.write("a", "hello world")); }
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
        const auto [first, requests] = cells<QString, QString>("first", "requests");
        QVERIFY(m_site.write("b", "once more"));
        cTransfer::Options options;
        options.stallTimeout = 1000;
        QString seen;
        // Now and then the connection is not free again when the next request wants it, which then gets one of its own.
        for (int i = 0; i < 20 && seen != requests; ++i) {
            m_manager.clearConnectionCache();
            QCOMPARE(run(m_site.url(first), options)->data(), QByteArray("hello world"));
            m_site.takeRequests();
            const auto second = run(m_site.url("b"), options);
            QCOMPARE(second->errorString(), QString());
            QCOMPARE(second->data(), QByteArray("once more"));
            seen = m_site.takeRequests().join(' ');
        }
        QCOMPARE(seen, requests);
    }
    void endsWhatIsTooSlow()
    {
        const QString tooSlow("slower than 10 bytes a second for 1000 ms");
        for (const auto& [leastRate, reason] : {std::pair(10, tooSlow), {2, QString()}, {0, QString()}}) {
            cTransfer::Options options;
            options.leastRate = leastRate;
            options.rateWindow = 1000;
            const auto transfer = run(m_site.url("~trickle=150/a"), options);
            QCOMPARE(transfer->errorString(), reason);
            QCOMPARE(transfer->data(), reason.isEmpty() ? QByteArray("hello world") : QByteArray());
        }
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
        const auto transfer = isIntoADevice ? run(m_site.url(url), options, &device) : run(m_site.url(url), options);
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
        auto waiter = std::make_unique<Waiter>();
        for (int i = 0; i < 2; ++i) {
            waiter->transfers << QSharedPointer<cTransfer>::create(waiter->manager, m_site.url("~trickle=20/a"),
                                                                   cTransfer::Options());
            waiter->transfers[i]->start();
        }
        const QPointer<cTransfer> first = waiter->transfers[0].data();
        QStringList ends;
        connect(first, &cTransfer::done, this, [&] { ends << first->errorString(); });
        QTimer::singleShot(100, this, [&] { waiter.reset(); });
        cTransfer::wait(waiter->transfers);
        QCOMPARE(ends, QStringList("the network manager is gone"));
        QVERIFY(first.isNull());
    }

private:
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
