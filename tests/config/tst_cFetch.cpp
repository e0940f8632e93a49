#include "config/cFetchQueue.h"

#include <HttpSite.h>
#include <LogFile.h>
#include <Rows.h>

#include <memory>

static const QByteArray Whole = QByteArray("0123456789").repeated(10);

static QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

struct Run;
/// What happens to a fetch while it runs.
using Event = void (*)(Run&);
Q_DECLARE_METATYPE(Event)

struct Run
{
    QSharedPointer<cFetch> fetch;
    QSharedPointer<cFetch> other;
    std::unique_ptr<cFetchQueue> queue;
    Event event = nullptr;
};

/// Fetches from a real server: what lies there afterwards, and how many requests and bytes that took.
class tst_cFetch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.write("a", Whole));
        QVERIFY(m_site.write("b", "something else"));
    }
    void goesOnWhereItStopped_data()
    {
        // Sources; the part that lies there, from where (the source's number, 0 for none), its validator; requests,
        // bytes fetched, and what lies there afterwards.
        const Rows<QString, QByteArray, int, QByteArray, int, int, QByteArray> row("sources", "part", "from", "tag",
                                                                                   "requests", "fetched", "left");
        row("nothing is there", "~tag=1/a", "", 0, "", 1, 100, Whole);
        row("a half", "~tag=1/a", Whole.left(50), 1, "\"1\"", 1, 50, Whole);
        row("a half, slowly", "~trickle=10/~tag=1/a", Whole.left(50), 1, "\"1\"", 1, 50, Whole);
        row("a half of unknown origin", "~tag=1/a", Whole.left(50), 0, "\"1\"", 1, 100, Whole);
        row("a half from elsewhere", "~redirect=%2F~tag%3D1/a", Whole.left(50), 1, "\"1\"", 2, 50, Whole);
        row("a half in chunks", "~chunked/~tag=1/a", Whole.left(50), 1, "\"1\"", 1, 50, Whole);
        row("a half without a validator", "~tag=1/a", Whole.left(50), 1, "", 1, 100, Whole);
        row("a half of the second source", "~tag=1/b ~tag=1/a", Whole.left(50), 2, "\"1\"", 1, 50, Whole);
        row("a half of a source that is gone", "gone ~tag=1/a", Whole.left(50), 1, "\"1\"", 2, 100, Whole);
        row("all", "a", Whole, 0, "", 0, 0, Whole);
        row("more than all", "~tag=1/a", Whole + "more", 1, "\"1\"", 2, 100, Whole);
        row("something else", "~tag=1/a", Whole.left(50).toLower().replace('0', 'x'), 1, "\"1\"", 2, 150, Whole);
        row("changed meanwhile", "~tag=2/a", Whole.left(50), 1, "\"1\"", 1, 100, Whole);
        row("the server knows no ranges", "~noranges/a", Whole.left(50), 1, "\"1\"", 1, 100, Whole);
        row("another part", "~shift=1/~tag=1/a", Whole.left(50), 1, "\"1\"", 2, 100, Whole);
        row("a part of another file", "~wrong=2/~tag=1/a", Whole.left(50), 1, "\"1\"", 2, 100, Whole);
        row("a rest that is not what it says", "~wrong=/~tag=1/a", Whole.left(50), 1, "\"1\"", 2, 150, Whole);
        row("a rest of another length", "~promise=9/~tag=1/a", Whole.left(50), 1, "\"1\"", 1, 50, Whole);
        row("an old date", "a", Whole.left(50), 1, "Thu, 01 Jan 1970 00:00:00 GMT", 1, 100, Whole);
        row("cut", "~cut=+79/~tag=1/a", "", 0, "", 1, 79, Whole.left(79));
        row("cut, and gone on with elsewhere", "~cut=+79/~tag=1/a a", "", 0, "", 2, 179, Whole);
        row("absent", "gone gone", "", 0, "", 2, 0, "-");
        row("absent, with a part", "gone", Whole.left(50), 0, "", 1, 0, Whole.left(50));
        row("another file", "b", "", 0, "", 1, 14, "-");
        row("another file for a part", "~tag=1/b", Whole.left(50), 1, "\"2\"", 1, 14, "");
        row("too long", "~fill=901/a", "", 0, "", 1, 0, "-");
        row("too long with what is there", "~fill=901/~tag=1/a", Whole.left(50), 1, "\"1\"", 1, 0, Whole.left(50));
        row("a local file", "file:a", "", 0, "", 0, 100, Whole);
    }
    void goesOnWhereItStopped()
    {
        const auto [sources, part, from] = cells<QString, QByteArray, int>("sources", "part", "from");
        const auto [tag, left] = cells<QByteArray, QByteArray>("tag", "left");
        const QTemporaryDir folder;
        const cFetch::Order order = orderOf(folder, sources);
        if (from > 0)
            lay(order, part, tag, from);
        else if (!part.isEmpty())
            writeFile(order.path + ".part", part);
        const LogFile log;
        m_site.takeRequests();
        const auto fetch = fetched(order);
        QCOMPARE(fetch->hasSucceeded(), left == Whole);
        QCOMPARE(read(order.path + (left == Whole ? "" : ".part")), left);
        QTEST(int(m_site.takeRequests().size()), "requests");
        QTEST(int(fetch->bytesFetched()), "fetched");
        QVERIFY(!sources.contains("trickle") || m_told.first().last().toInt() == Whole.size());
        QVERIFY(!fetch->hasSucceeded() || !cFetch::hasPart(order.path));
        QVERIFY(!fetch->hasSucceeded() || read(order.path + ".part.origin") == "-");
        QCOMPARE(log.close().count("Not fetched: A-1.00.000 from") > 0,
                 !fetch->hasSucceeded() || sources.contains("gone") || sources.contains("cut"));
    }

    void vouchesForWhatCame()
    {
        for (const QByteArray& part : {QByteArray(), Whole.left(50), Whole}) {
            for (const QString& refusal : {QString(), QString("no trusted metadata names it")}) {
                const QTemporaryDir folder;
                cFetch::Order order = orderOf(folder, "~tag=1/a");
                order.refusal = [&](const QByteArray& sha256, qint64 length) {
                    const bool isWhole = sha256 == QCryptographicHash::hash(Whole, QCryptographicHash::Sha256);
                    return isWhole && length == Whole.size() ? refusal : "not the file";
                };
                if (!part.isEmpty())
                    lay(order, part, "\"1\"");
                const auto fetch = fetched(order);
                QCOMPARE(fetch->errorString(), refusal);
                QVERIFY(!refusal.isEmpty() || fetch->bytesFetched() == Whole.size() - part.size());
                QCOMPARE(read(order.path), refusal.isEmpty() ? Whole : "-");
                QCOMPARE(read(order.path + ".part"), QByteArray(refusal.isEmpty() || part.isEmpty() ? "-" : ""));
            }
        }
    }
    void tellsWhatTheDiskRefuses()
    {
        const QTemporaryDir folder;
        writeFile(folder.filePath("sub"), "a file");
        const auto fetch = fetched(orderOf(folder, "a"));
        QVERIFY(fetch->hasDiskFault());
        QVERIFY2(fetch->errorString().contains(folder.filePath("sub")), qPrintable(fetch->errorString()));
    }
    void losesLittleOfWhatIsLarge()
    {
        const QByteArray large(6000000, 'x');
        QVERIFY(m_site.write("large", large));
        const QTemporaryDir folder;
        cFetch::Order order = orderOf(folder, "~cut=+4000000/large");
        order.sources.first().limit = 0;
        order.sha1 = sha1(large);
        for (const bool isLast : {false, true}) {
            const auto fetch = fetched(order);
            QCOMPARE(fetch->hasSucceeded(), isLast);
            const qint64 there = isLast ? large.size() : 4000000 - 256 * 1024;
            QVERIFY2(fetch->bytesThere() >= there, qPrintable(QString::number(fetch->bytesThere())));
            QVERIFY(!isLast || fetch->bytesFetched() < 2000000 + 256 * 1024);
        }
        QVERIFY(read(order.path) == large);
    }
    void runsSoManyAHost()
    {
        QVERIFY2(m_site.setFaults("~delay=20").isEmpty(), "the server knows distances");
        for (const int most : {0, 1, 2}) {
            const int running = qMax(most, 1);
            const QTemporaryDir folder;
            cFetchQueue queue(most);
            m_site.takeRequests();
            QVector<QSharedPointer<cFetch>> fetches;
            for (int i = 0; i < 4; ++i) {
                cFetch::Order order = orderOf(folder, "~pause=+9/a");
                order.path += QString::number(i);
                fetches << QSharedPointer<cFetch>::create(order);
                queue.add(fetches.last());
            }
            for (int i = 0; i < running; ++i)
                QTRY_COMPARE(fetches[i]->bytesThere(), qint64(9));
            QCOMPARE(m_site.takeRequests().size(), running);
            queue.cancel(*fetches.first());
            queue.cancel();
            QVERIFY(queue.isIdle());
            for (const QSharedPointer<cFetch>& fetch : fetches)
                QCOMPARE(fetch->state(), cTransfer::Cancelled);
            QCOMPARE(read(fetches.first()->path() + ".part"), Whole.left(9));
            QCOMPARE(read(fetches.last()->path() + ".part"), QByteArray("-"));
        }
        QVERIFY(m_site.setFaults("~").isEmpty());
    }
    void survivesWhatHappensMeanwhile_data()
    {
        const Rows<int, Event> row("state", "event");
        row("nothing", cTransfer::Succeeded, [](Run&) {});
        row("cancelled", cTransfer::Cancelled, [](Run& run) { run.queue->cancel(*run.fetch); });
        row("all cancelled", cTransfer::Cancelled, [](Run& run) { run.queue->cancel(); });
        row("the queue is destroyed", cTransfer::Cancelled, [](Run& run) { run.queue.reset(); });
        row("another is added", cTransfer::Succeeded, [](Run& run) { run.queue->add(run.other); });
    }
    /// From the first progress, the last one, and the end.
    void survivesWhatHappensMeanwhile()
    {
        const auto [event, state] = cells<Event, int>("event", "state");
        for (const int at : {1, int(Whole.size()), -1}) {
            const QTemporaryDir folder;
            Run run;
            const QString path = at == 1 ? "~trickle=2/a" : "a";
            run.fetch = QSharedPointer<cFetch>::create(orderOf(folder, path));
            cFetch::Order other = orderOf(folder, "b");
            other.path += "-2";
            run.other = QSharedPointer<cFetch>::create(other);
            run.queue = std::make_unique<cFetchQueue>();
            const auto happen = [&run] {
                if (const Event once = std::exchange(run.event, nullptr))
                    once(run);
            };
            run.event = event;
            connect(run.fetch.data(), &cFetch::progress, this, [&](qint64 there) {
                if (at > 0 && there >= at)
                    happen();
            });
            connect(run.fetch.data(), &cFetch::done, this, [&] { happen(); });
            cFetchQueue* const queue = run.queue.get();
            queue->add(run.fetch);
            queue->wait();
            QCOMPARE(int(run.fetch->state()), at < 0 ? int(cTransfer::Succeeded) : state);
            QCOMPARE(read(run.fetch->path()), run.fetch->hasSucceeded() ? Whole : "-");
            if (run.other->state() != cTransfer::Idle)
                QCOMPARE(run.other->state(), cTransfer::Failed); // it is another file
        }
    }

private:
    cFetch::Order orderOf(const QTemporaryDir& folder, const QString& sources) const
    {
        cFetch::Order order;
        order.name = "A-1.00.000";
        order.path = folder.filePath("sub/A.zip");
        order.sha1 = sha1(Whole);
        for (const QString& source : sources.split(' '))
            order.sources.append(
                {source.startsWith("file:") ? m_site.fileUrl(source.mid(5)) : m_site.url(source), 1000});
        return order;
    }
    /// As the part that came from the source of that number, from 1 on.
    static void lay(const cFetch::Order& order, const QByteArray& part, const QByteArray& tag, int source = 1)
    {
        writeFile(order.path + ".part", part);
        writeFile(order.path + ".part.origin", order.sources[source - 1].url.toEncoded() + '\n' + tag + '\n');
    }
    QSharedPointer<cFetch> fetched(const cFetch::Order& order)
    {
        const auto fetch = QSharedPointer<cFetch>::create(order);
        QSignalSpy told(fetch.data(), &cFetch::progress);
        QSignalSpy done(fetch.data(), &cFetch::done);
        cFetchQueue queue;
        queue.add(fetch);
        queue.wait();
        m_told = told;
        if (done.size() != 1)
            QTest::qFail("the end is told once", __FILE__, __LINE__);
        return fetch;
    }
    /// "-" when nothing is there.
    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "-";
    }

    HttpSite m_site;
    QList<QVariantList> m_told; // the progress of the last fetched()
};

QTEST_GUILESS_MAIN(tst_cFetch)
#include "tst_cFetch.moc"
