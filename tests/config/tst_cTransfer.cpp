#include "config/cTransfer.h"

#include <HttpSite.h>
#include <Rows.h>

#include <QtNetwork/QNetworkAccessManager>

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
        transfers << make("~trickle=20/a") << make("~trickle=20/a", &device) << make("b") << make("~pause=45/a");
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
        row("the rest", "~ranges=1/a", "\"1\"", "HELLO ", "HELLO world", 6);
        row("without a validator", "~ranges=1/a", "", "HELLO ", "HELLO world", 6);
        row("from elsewhere", "~redirect=%2F~ranges%3D1/a", "\"1\"", "HELLO ", "HELLO world", 6);
        row("in chunks", "~chunked/~ranges=1/a", "\"1\"", "HELLO ", "HELLO world", 6);
        row("changed meanwhile", "~ranges=2/a", "\"1\"", "HELLO ", "hello world", 0);
        row("changed meanwhile, and shorter", "~ranges=2/a", "\"1\"", "HELLO, WORLD AND ALL", "hello world", 0);
        row("no ranges", "a", "\"1\"", "HELLO ", "hello world", 0);
        row("local file", "file:a", "", "HELLO ", "hello world", 0);
        row("another part", "~shift=1/~ranges=1/a", "\"1\"", "HELLO ", "HELLO ", -1);
        row("nothing is left", "~ranges=1/a", "\"1\"", "HELLO WORLD", "HELLO WORLD", -1);
        row("absent", "b", "\"1\"", "HELLO ", "HELLO ", -1);
        row("cut short", "~promise=1/~ranges=1/a", "\"1\"", "HELLO ", "HELLO world", -1);
        row("too long as a whole", "~fill=100/~ranges=1/a", "\"1\"", "HELLO ", "HELLO ", -1);
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
        const cTransfer::Options options{110, 30000, before.size(), validator};
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
    void outlivesWhoeverWaits()
    {
        struct Waiter
        {
            QNetworkAccessManager manager;
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
        if (path.startsWith("file:"))
            return QUrl::fromLocalFile(QDir(m_site.folder()).absoluteFilePath(path.mid(5)));
        return m_site.url(path);
    }
    QSharedPointer<cTransfer> make(const QString& path, std::optional<QIODevice*> device = std::nullopt)
    {
        return QSharedPointer<cTransfer>::create(m_manager, m_site.url(path), cTransfer::Options(), device);
    }

    HttpSite m_site;
    QNetworkAccessManager m_manager;
};

QTEST_GUILESS_MAIN(tst_cTransfer)
#include "tst_cTransfer.moc"
