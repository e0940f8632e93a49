#include <Norvale/cJsonReader.h>

#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>

#include <QtCore/QBuffer>
#include <QtTest/QTest>

Q_DECLARE_METATYPE(cJsonValue)

class tst_cJsonReader : public QObject
{
    Q_OBJECT

private slots:
    void documents_data();
    void documents();
    void numbers_data();
    void numbers();
    void strings_data();
    void strings();
    void sources();
    void emptyInput_data();
    void emptyInput();
};

// Incomplete documents are given as far as they are kept.
void tst_cJsonReader::documents_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QByteArray>("written");
    const auto row = [](const char* text, bool ok, const char* written) {
        QTest::newRow(text) << QByteArray(text) << ok << QByteArray(written);
    };
    row(R"({"a":[1,2,{"b":null}]})", true, R"({"a":[1,2,{"b":null}]})");
    row("/* c */ {\"a\":1} // x", true, R"({"a":1})");
    row(R"({"a":1 /*c*/ ,"b":2})", true, R"({"a":1,"b":2})");
    row(R"({"a":1 /*c*/ 5 "b":2})", true, R"({"a":1,"b":2})");
    row(R"({/*c*/"a":/*c*/1,//
"b":[/*c*/2]})",
        true, R"({"a":1,"b":[2]})");
    row("[1 /*c*/ ,2]", false, "[1]");
    row(R"({"a"/*c*/:1})", false, "{}");
    row("[/*c*/]", false, "[null]");
    row("[1,/*", false, "[1,null]");
    row("[ \t\r\n ]", true, "[]");
    row("{ }", true, "{}");
    row("[1,]", false, "[1,null]");
    row(R"({"a":1,})", false, R"({"a":1})");
    row(R"({"":1,})", true, R"({"":1})");
    row(R"({"a" 1})", false, "{}");
    row(R"({"a":1 "b":2})", false, R"({"a":1})");
    row(R"({"a":})", false, R"({"a":null})");
    row(R"({"a\x":1})", false, "{}");
    row("{1:2}", false, "{}");
    row("[[1,[2,", false, "[[1,[2,null]]]");
    row(R"([{"a":{"b":[tru]},"c":1}])", false, R"([{"a":{"b":[null]}}])");
    row(R"({"a":1,"b":2,"a":3})", true, R"({"a":3,"b":2})");
    row(R"({"a":1,"a":})", false, R"({"a":1})");
    row(R"({"a":1,"a":[2)", false, R"({"a":[2]})");
    row("1 2", true, "1");
    row("{}x", true, "{}");
    row("[1]]", true, "[1]");
    row("truex", true, "true");
    row("[truex]", false, "[true]");
    row("nul", false, "null");
    row("[12abc]", false, "[12]");
    row("12abc", true, "12");
    row("[1}", false, "[1]");
    row("\x7e", false, "null");
}

void tst_cJsonReader::documents()
{
    QFETCH(QByteArray, text);
    cJsonValue value("before");
    QTEST(cJsonReader::parse(text, value), "ok");
    QTEST(cJsonWriter::serialize(value), "written");
}

void tst_cJsonReader::numbers_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<cJsonValue>("number"); // null: no number
    const auto row = [](const char* text, const cJsonValue& number) {
        QTest::newRow(text) << QByteArray(text) << number;
    };
    row("0", 0);
    row("-", 0);
    row("-0", 0);
    row("007", 7);
    row("-00000000000000000000000012", -12);
    row("2147483647", 2147483647);
    row("2147483648", 2147483648u);
    row("4294967289", 4294967289u);
    row("4294967290", 4294967290.0);
    row("4294967295", 4294967295.0);
    row("4294967296", 4294967296.0);
    row("-2147483639", -2147483639);
    row("-2147483640", -2147483640.0);
    row("-2147483648", -2147483648.0);
    row("123456789012345678901234567890", 123456789012345678901234567890.0);
    row("1.5e3", 1500.0);
    row("1.", 1.0);
    row("-65.613616999999977", -65.613616999999977);
    row("1e5", 1e5);
    row("1E+2", 100.0);
    row("4.9e-324", 4.9e-324);
    row("0.000000000000000000000000000000000001", 1e-36);
    row("1e400", cJsonValue());
    row("1e-400", cJsonValue());
    row("1e", cJsonValue());
    row("1e5e5", cJsonValue());
    row("1-2", cJsonValue());
    row("--5", cJsonValue());
    row("1.2.3", cJsonValue());
}

void tst_cJsonReader::numbers()
{
    QFETCH(QByteArray, text);
    QFETCH(cJsonValue, number);
    cJsonValue value;
    QCOMPARE(cJsonReader::parse(text, value), !number.isNull());
    QVERIFY(value == number);
    QCOMPARE(cJsonReader::parse("[" + text + ",1]", value), !number.isNull());
    QVERIFY(value[0] == number);
}

void tst_cJsonReader::strings_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("string");
    const QByteArray x(100, 'x');
    QTest::newRow("unicode") << QByteArray(R"("\u00e9\u00E9")") << true << QString(2, QChar(0xe9));
    QTest::newRow("pair") << QByteArray(R"("\ud83d\ude00")") << true << QString::fromUtf8("\xf0\x9f\x98\x80");
    QTest::newRow("half a pair") << QByteArray(R"("\ud83d")") << true << QString(QChar(0xd83d));
    QTest::newRow("letters") << QByteArray(R"("\"\/\\\b\f\n\r\t")") << true << QString("\"/\\\b\f\n\r\t");
    QTest::newRow("bytes are not combined") << QByteArray("\"\xc3\xa9\"") << true << QString::fromLatin1("\xc3\xa9");
    QTest::newRow("nul") << QByteArray("\"a\0b\"", 5) << true << QString::fromLatin1("a\0b", 3);
    QTest::newRow("long") << '"' + x + R"(\n)" + x + '"' << true << QString(x + '\n' + x);
    QTest::newRow("unknown letter") << QByteArray(R"("\x")") << false << QString();
    QTest::newRow("three digits") << QByteArray(R"("\u12a")") << false << QString();
    QTest::newRow("no digit") << QByteArray(R"("\u12g4")") << false << QString();
    QTest::newRow("not closed") << QByteArray(R"("abc\")") << false << QString();
    QTest::newRow("ends with a backslash") << QByteArray("\"abc\\") << false << QString();
}

void tst_cJsonReader::strings()
{
    QFETCH(QByteArray, text);
    cJsonValue value;
    QTEST(cJsonReader::parse(text, value), "ok");
    QTEST(value.toString(), "string");
    QTEST(cJsonReader::parse("{" + text + ":1}", value), "ok");
    QTEST(value.keys().value(0), "string");
}

void tst_cJsonReader::sources()
{
    const QByteArray padded("xx[1,2]yy");
    cJsonValue value;
    QVERIFY(cJsonReader::parse(QByteArray::fromRawData(padded.constData() + 2, 5), value));
    QCOMPARE(cJsonWriter::serialize(value), QByteArray("[1,2]"));
    QVERIFY(cJsonReader::parse(QString::fromUtf8("[\"\xc3\xa9\"]"), value));
    QCOMPARE(value[0].toString(), QString(QChar(0xe9)));

    QBuffer device;
    device.setData("123 [3]");
    QVERIFY(device.open(QIODevice::ReadOnly));
    device.seek(3);
    cJsonReader reader(&device);
    device.close();
    bool ok = false;
    QCOMPARE(cJsonWriter::serialize(reader.parse(&ok)), QByteArray("[3]"));
    QVERIFY(ok);
    QVERIFY(reader.parse() == cJsonReader(reader).parse());
    QVERIFY(cJsonReader::parse(reader, value) && value[0] == 3);
}

void tst_cJsonReader::emptyInput_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("spaces") << QByteArray(" \t\r\n");
    QTest::newRow("comment") << QByteArray("/* c */ // d");
    QTest::newRow("nul") << QByteArray("\0[1]", 4);
}

void tst_cJsonReader::emptyInput()
{
    QFETCH(QByteArray, text);
    cJsonValue value(3);
    QVERIFY(!cJsonReader::parse(text, value) && value.isNull());
}

QTEST_APPLESS_MAIN(tst_cJsonReader)
#include "tst_cJsonReader.moc"
