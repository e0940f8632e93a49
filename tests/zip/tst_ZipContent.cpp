#include "ZipBuilder.h"

#include "zip/Inflate.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <Rows.h>

#include <QtCore/QRandomGenerator>

#include <zlib.h>

/// The steps that content() is told by, as plainly as they can be said.
static QByteArray plainContent(QByteArray in, quint32 uncompressedSize)
{
    for (quint32 size = qMax(uncompressedSize, 1u);; size *= 2) {
        QByteArray out(int(size), 0);
        z_stream stream = {};
        stream.next_in = reinterpret_cast<Bytef*>(in.data());
        stream.avail_in = uInt(in.size());
        stream.next_out = reinterpret_cast<Bytef*>(out.data());
        stream.avail_out = size;
        inflateInit2(&stream, -15);
        const int answer = inflate(&stream, Z_FINISH);
        inflateEnd(&stream);
        if (answer == Z_STREAM_END)
            return out.left(int(stream.total_out));
        if (answer != Z_BUF_ERROR || stream.avail_in == 0)
            return QByteArray();
    }
}

/// Text of few letters, so that it packs well and in many ways.
static QByteArray someText(QRandomGenerator& random, int size, int letters)
{
    QByteArray text;
    while (text.size() < size)
        text += QByteArray(1, char('a' + random.bounded(letters))).repeated(1 + random.bounded(9));
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
        row("deflated", buildZip({deflated("a", text)}), packed, text);
        row("stored", buildZip({stored("a", text)}), text, "");
        row("stored, a deflate stream", buildZip({stored("a", packed)}), packed, text);
        row("bytes behind the stream", buildZip({{"a", packed + "tail", 29}}), packed + "tail", text);
        row("a data descriptor", buildZip({{"a", packed, 29, 8, -1, 0}}), "", "");
        row("the local size counts", buildZip({{"a", packed, 29, 8, 3}}), packed, text);
        row("a shorter local size", buildZip({{"a", packed, 29, 8, -1, packed.size() - 1}}), packed.chopped(1), "");
        row("a local header behind the end", buildZip({{"a", packed, 29, 8, -1, -1, 4000}}), "", "");
        row("a cut off local header", buildZip({{"a", packed, 29, 8, -1, -1, 100}}), "", "");
        row("cut off", buildZip({{"a", packed.chopped(3), 29}}), packed.chopped(3), "");
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

    void givesWhatIsThereOfCutOffData()
    {
        const QByteArray data(200000, 'x');
        const QByteArray bytes = buildZip({{"a", data, 200000, 0, -1, 0xffffffff}});
        const cZipArchive archive(bytes);
        QCOMPARE(archive.entry("a")->compressedContent(), bytes.mid(bytes.indexOf("xxx")));
    }

    void followsThePlainSteps()
    {
        QRandomGenerator random(8);
        for (int i = 0; i < 400; ++i) {
            const QByteArray text = someText(random, 1 + random.bounded(400), 1 + random.bounded(5));
            QByteArray packed = deflate(text);
            if (i % 4 == 1)
                packed[random.bounded(packed.size())] = char(random.bounded(256));
            if (i % 4 == 2)
                packed.chop(1 + random.bounded(packed.size()));
            for (const quint32 size : {1u, 2u, 7u, 30u, 100u, quint32(text.size()), quint32(text.size() + 5)})
                QCOMPARE(Inflate::inflateEntry(packed.constData(), packed.size(), size), plainContent(packed, size));
        }
    }

    void inflatesWithinALimit_data()
    {
        const Rows<QByteArray, qint64, QByteArray, QString> row("packed", "limit", "content", "error");
        const QByteArray text = "some text some text some text";
        const QByteArray packed = deflate(text);
        row("as much as allowed", packed, 29, text, "");
        row("one byte too many", packed, 28, "", "the data inflate to more than 28 bytes");
        row("nothing", QByteArray("\3\0", 2), 0, "", "");
        row("nothing allowed", packed, 0, "", "the data inflate to more than 0 bytes");
        row("a bomb", deflate(QByteArray(90000000, 0)), 1000000, "", "the data inflate to more than 1000000 bytes");
        row("cut off", packed.chopped(3), 29, "", "the deflated data are cut off");
        row("damaged", "\7", 29, "", "the deflated data are damaged");
    }
    void inflatesWithinALimit()
    {
        QFETCH(QByteArray, packed);
        QFETCH(qint64, limit);
        QFETCH(QString, error);
        QByteArray content = "before";
        QString reason;
        QCOMPARE(Inflate::inflateRaw(packed, limit, &content, &reason), error.isEmpty());
        QTEST(content, "content");
        QCOMPARE(reason, error);
    }
};

QTEST_GUILESS_MAIN(tst_ZipContent)
#include "tst_ZipContent.moc"
