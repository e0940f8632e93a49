#include "wire/cFrameDecoder.h"

#include <QtTest/QtTest>

class tst_cFrameDecoder : public QObject
{
    Q_OBJECT

private slots:
    void decodes_data();
    void decodes();
    void holdsNoMoreThanHasArrived();
};

void tst_cFrameDecoder::decodes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArrayList>("payloads");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const char* hex, const QByteArrayList& payloads, const char* error = "") {
        QTest::newRow(name) << QByteArray::fromHex(hex) << payloads << QString(error);
    };
    row("nothing", "", {});
    row("one", "03000000 616263", {"abc"});
    row("two and half a length", "01000000 61 02000000 6262 0100", {"a", "bb"});
    row("empty ones", "00000000 00000000", {"", ""});
    row("half a payload", "03000000 6162", {});
    row("at the limit", "08000000 6162636465666768", {"abcdefgh"});
    row("over the limit", "01000000 61 09000000 00", {"a"}, "a frame of 9 bytes is over the limit of 8");
    row("negative", "feffffff 01000000 61", {}, "a frame has the negative length -2");
}

void tst_cFrameDecoder::decodes()
{
    QFETCH(QByteArray, bytes);
    for (const int size : {1, 2, 3, 5, 100}) {
        cFrameDecoder decoder(8);
        QByteArrayList payloads;
        QByteArray payload;
        for (int position = 0; position < bytes.size(); position += size) {
            decoder.append(bytes.mid(position, size));
            while (decoder.next(&payload))
                payloads.append(payload);
        }
        QTEST(payloads, "payloads");
        QTEST(decoder.errorString(), "error");
    }
}

void tst_cFrameDecoder::holdsNoMoreThanHasArrived()
{
    cFrameDecoder decoder;
    QByteArray payload;
    decoder.append(QByteArray("\x00\x00\x00\x01", 4) + QByteArray(1000, 'x')); // claims the whole 16 MiB
    QVERIFY(!decoder.next(&payload));
    QCOMPARE(decoder.pendingBytes(), 1004);
    QVERIFY(!decoder.hasFailed());
}

QTEST_APPLESS_MAIN(tst_cFrameDecoder)
#include "tst_cFrameDecoder.moc"
