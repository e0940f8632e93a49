#include "Archives.h"
#include "PlainInflate.h"

#include "zip/cInflater.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <Rows.h>

/// A raw deflate stream as zlib writes it with these settings.
static QByteArray packed(QByteArray text, int level, int strategy)
{
    QByteArray out(text.size() + 100, 0);
    z_stream stream = {};
    deflateInit2(&stream, level, Z_DEFLATED, -15, 9, strategy);
    stream.next_in = reinterpret_cast<Bytef*>(text.data());
    stream.avail_in = uInt(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    deflateEnd(&stream);
    return out.left(int(stream.total_out));
}

/// Text of few letters, so that it packs well and in many ways.
static QByteArray someText(QRandomGenerator& random, int size, int letters, int longest)
{
    QByteArray text;
    while (text.size() < size)
        text += QByteArray(1 + random.bounded(longest), char(random.bounded(letters)));
    return text.left(size);
}

/// The bytes of one file, packed and unpacked.
class tst_ZipContent : public QObject
{
    Q_OBJECT

private slots:
    void reads_data() { m_archives.addRows("contents"); }
    void reads()
    {
        const cZipArchive archive(m_archives.read("contents/%1.zip"));
        QCOMPARE(archive.entry("a")->compressedContent(), m_archives.read("contents/%1.packed"));
        QCOMPARE(archive.entry("a")->content(), m_archives.read("contents/%1.content"));
    }

    void followsThePlainSteps_data()
    {
        const Rows<int, int> row("level", "strategy");
        row("best", 9, Z_DEFAULT_STRATEGY);
        row("fast", 1, Z_DEFAULT_STRATEGY);
        row("not packed", 0, Z_DEFAULT_STRATEGY);
        row("no matches", 6, Z_HUFFMAN_ONLY);
        row("only repetitions", 6, Z_RLE);
        row("fixed codes", 6, Z_FIXED);
    }
    void followsThePlainSteps()
    {
        const auto [level, strategy] = cells<int, int>("level", "strategy");
        QRandomGenerator random(8);
        for (int i = 0; i < 200; ++i) {
            const int size = 1 + random.bounded(i % 20 == 0 ? 200000 : 500);
            const QByteArray text = someText(random, size, 1 + random.bounded(256), 1 + random.bounded(40));
            QByteArray bytes = packed(text, level, strategy);
            const cInflater::Stated stated = statedOf(text);
            cInflater inflater;
            QByteArray out;
            QVERIFY(inflater.inflate(bytes, size, stated, &out, nullptr));
            QCOMPARE(out, text);
            QVERIFY(!inflater.inflate(bytes, size - 1, stated, &out, nullptr));
            QVERIFY(out.isEmpty());
            if (i % 4 == 1)
                bytes[random.bounded(bytes.size())] = char(random.bounded(256));
            if (i % 4 == 2)
                bytes.chop(1 + random.bounded(bytes.size()));
            for (const int expected : {0, 1, 7, 100, size / 2, size - 1, size, size + 5})
                QCOMPARE(inflater.inflateEntry(bytes, {quint32(expected), stated.crc}),
                         plainInflate(bytes, quint32(expected)));
        }
    }

private:
    const Archives m_archives;
};

QTEST_GUILESS_MAIN(tst_ZipContent)
#include "tst_ZipContent.moc"
