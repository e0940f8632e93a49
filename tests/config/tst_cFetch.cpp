#include "config/cFetchQueue.h"

#include <HttpSite.h>
#include <LogFile.h>
#include <Rows.h>

static const QByteArray Whole = QByteArray("0123456789").repeated(10);

static QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

/// Fetches from a real server: what lies there afterwards, and how many requests and bytes that took.
class tst_cFetch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.isRunning());
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
        row("a half of unknown origin", "~tag=1/a", Whole.left(50), 0, "\"1\"", 1, 100, Whole);
        row("a half without a validator", "~tag=1/a", Whole.left(50), 1, "", 1, 100, Whole);
        row("a half of the second source", "~tag=1/b ~tag=1/a", Whole.left(50), 2, "\"1\"", 1, 50, Whole);
        row("a half of a source that is gone", "gone ~tag=1/a", Whole.left(50), 1, "\"1\"", 2, 100, Whole);
        row("all", "a", Whole, 0, "", 0, 0, Whole);
        row("more than all", "~tag=1/a", Whole + "more", 1, "\"1\"", 2, 100, Whole);
        row("something else", "~tag=1/a", Whole.left(50).toLower().replace('0', 'x'), 1, "\"1\"", 2, 150, Whole);
        row("changed meanwhile", "~tag=2/a", Whole.left(50), 1, "\"1\"", 1, 100, Whole);
        row("the server knows no ranges", "~noranges/a", Whole.left(50), 1, "\"1\"", 1, 100, Whole);
        row("another part", "~shift=1/~tag=1/a", Whole.left(50), 1, "\"1\"", 2, 100, Whole);
        row("cut", "~cut=+79/~tag=1/a", "", 0, "", 1, 79, Whole.left(79));
        row("cut, and gone on with elsewhere", "~cut=+79/~tag=1/a a", "", 0, "", 2, 179, Whole);
        row("absent", "gone gone", "", 0, "", 2, 0, "-");
        row("absent, with a part", "gone", Whole.left(50), 0, "", 1, 0, Whole.left(50));
        row("another file", "b", "", 0, "", 1, 14, "-");
        row("another file for a part", "~tag=1/b", Whole.left(50), 1, "\"2\"", 1, 14, "");
        row("too long", "~fill=901/a", "", 0, "", 1, 0, "-");
        row("a local file", "file:a", "", 0, "", 0, 100, Whole);
    }
    void goesOnWhereItStopped()
    {
        QFETCH(QString, sources);
        QFETCH(QByteArray, part);
        QFETCH(QByteArray, tag);
        QFETCH(QByteArray, left);
        QFETCH(int, from);
        QTemporaryDir folder;
        cFetch::Order order;
        order.name = "A-1.00.000";
        order.path = folder.filePath("sub/A.zip");
        order.sha1 = sha1(Whole);
        for (const QString& source : sources.split(' '))
            order.sources.append(
                {source.startsWith("file:") ? m_site.fileUrl(source.mid(5)) : m_site.url(source), 1000});
        if (!part.isEmpty())
            write(order.path + ".part", part);
        if (from > 0)
            write(order.path + ".part.origin", order.sources[from - 1].url.toEncoded() + '\n' + tag + '\n');
        const LogFile log;
        m_site.takeRequests();
        const auto fetch = QSharedPointer<cFetch>::create(order);
        QSignalSpy done(fetch.data(), &cFetch::done);
        cFetchQueue queue;
        queue.add(fetch);
        queue.wait();
        QCOMPARE(done.size(), 1);
        QCOMPARE(fetch->hasSucceeded(), left == Whole);
        QCOMPARE(read(order.path + (left == Whole ? "" : ".part")), left);
        QTEST(m_site.takeRequests().size(), "requests");
        QTEST(int(fetch->bytesFetched()), "fetched");
        QVERIFY(!fetch->hasSucceeded() || !cFetch::hasPart(order.path));
        QVERIFY(!fetch->hasSucceeded() || read(order.path + ".part.origin") == "-");
        QCOMPARE(log.close().count("Not fetched: A-1.00.000 from") > 0,
                 !fetch->hasSucceeded() || sources.contains("gone") || sources.contains("cut"));
    }

private:
    static void write(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        QDir().mkpath(QFileInfo(file).path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    /// "-" when nothing is there.
    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "-";
    }

    HttpSite m_site;
};

QTEST_GUILESS_MAIN(tst_cFetch)
#include "tst_cFetch.moc"
