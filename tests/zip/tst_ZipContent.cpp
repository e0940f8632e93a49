#include "PlainInflate.h"
#include "ZipBuilder.h"

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
    void reads_data()
    {
        const Rows<QByteArray, QByteArray, QByteArray> row("bytes", "packed", "content");
        const QByteArray text = "some text some text some text";
        const QByteArray packed = deflate(text);
        const QByteArray zeros(5000000, 0);
        const QByteArray noLength("\x4b\x1c\x03\x00", 4); // fixed codes: "a", then length symbol 286
        const QByteArray endless = buildZip({{"a", QByteArray(200000, 'x'), 200000, 0, -1, 0xffffffff}});
        row("deflated", buildZip({deflated("a", text)}), packed, text);
        row("stored", buildZip({stored("a", text)}), text, "");
        row("stored, a deflate stream", buildZip({stored("a", packed)}), packed, text);
        row("bytes behind the stream", buildZip({{"a", packed + "tail", 29}}), packed + "tail", text);
        row("a data descriptor", buildZip({{"a", packed, 29, 8, -1, 0}}), "", "");
        row("the local size counts", buildZip({{"a", packed, 29, 8, 3}}), packed, text);
        row("a shorter local size", buildZip({{"a", packed, 29, 8, -1, packed.size() - 1}}), packed.chopped(1), "");
        row("a local header behind the end", buildZip({{"a", packed, 29, 8, -1, -1, 4000}}), "", "");
        row("a size beyond the end", endless, endless.mid(endless.indexOf("xxx")), "");
        row("a cut off local header", buildZip({{"a", packed, 29, 8, -1, -1, 100}}), "", "");
        row("cut off", buildZip({{"a", packed.chopped(3), 29}}), packed.chopped(3), "");
        row("another CRC-32", buildZip({{"a", packed, 29, 8, -1, -1, -1, 0x02014b50, -1, 1}}), packed, text);
        row("a length that means nothing", buildZip({{"a", noLength, 259}}), noLength, "");
        row("damaged", buildZip({{"a", "\7" + packed, 29}}), "\7" + packed, "");
        row("a size too small", buildZip({{"a", packed, 1}}), packed, text);
        row("a size too large", buildZip({{"a", packed, 0xffffffff}}), packed, text);
        row("much more than stated", buildZip({{"a", deflate(zeros), 1}}), deflate(zeros), zeros);
        row("more than one window", buildZip({deflated("a", zeros), deflated("b", text)}), deflate(zeros), zeros);
    }
    void reads()
    {
        QFETCH(QByteArray, bytes);
        const cZipArchive archive(bytes);
        QTEST(archive.entry("a")->compressedContent(), "packed");
        QTEST(archive.entry("a")->content(), "content");
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
        QFETCH(int, level);
        QFETCH(int, strategy);
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
};

QTEST_GUILESS_MAIN(tst_ZipContent)
#include "tst_ZipContent.moc"
