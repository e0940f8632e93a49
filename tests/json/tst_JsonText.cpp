#include <ChildRun.h>
#include <Encodings.h>
#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>
#include <Rows.h>

#include "json/cJsonParser.h"

#include <cmath>
#include <limits>

Q_DECLARE_METATYPE(cJsonValue)

static QByteArray streamed(const cJsonValue& value)
{
    QByteArray text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    stream << value;
    stream.flush();
    return text;
}

/// The text form, read and written.
class tst_JsonText : public QObject
{
    Q_OBJECT

private slots:
    void readsDocuments_data()
    {
        // What of an incomplete document is kept.
        const Rows<QByteArray, bool, QByteArray> table("text", "ok", "written");
        const auto row = [&](const char* text, bool ok, const char* written) { table(text, text, ok, written); };
        row("/* c */ {\"a\":1} // x", true, R"({"a":1})");
        row(R"({"a":1 /*c*/ ,"b":2})", true, R"({"a":1,"b":2})");
        row(R"({"a":1 /*c*/ 5 "b":2})", true, R"({"a":1,"b":2})");
        row("{/*c*/\"a\":/*c*/1,//\n\"b\":[/*c*/2]}", true, R"({"a":1,"b":[2]})");
        row("[1 /*c*/ ,2]", false, "[1]");
        row("[/*c*/]", false, "[null]");
        row("[1,/*", false, "[1,null]");
        row(R"({"a":1,})", false, R"({"a":1})");
        row(R"({"":1,})", true, R"({"":1})");
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
        row("truex", true, "true");
        row("[truex]", false, "[true]");
        row("nul", false, "null");
        row("[12abc]", false, "[12]");
        row("12abc", true, "12");
        for (const char* nothing : {"", " \t\r\n", "/* c */ // d", "\x7e"})
            row(nothing, false, "null");
        table("nul", QByteArray("\0[1]", 4), false, "null");
    }
    void readsDocuments()
    {
        QFETCH(QByteArray, text);
        cJsonValue value("before");
        QTEST(cJsonReader::parse(text, value), "ok");
        QTEST(cJsonWriter::serialize(value), "written");
    }
    void readsScalars_data()
    {
        const Rows<QByteArray, cJsonValue> table("text", "expected"); // null: refused
        const auto row = [&](const char* text, const cJsonValue& number) { table(text, text, number); };
        for (const char* zero : {"0", "-", "-0"})
            row(zero, 0);
        row("007", 7);
        row("-00000000000000000000000012", -12);
        row("2147483647", 2147483647);
        row("2147483648", 2147483648u);
        row("4294967289", 4294967289u);
        row("4294967290", 4294967290.0);
        row("4294967296", 4294967296.0);
        row("-2147483639", -2147483639);
        row("-2147483640", -2147483640.0);
        row("-2147483648", -2147483648.0);
        row("123456789012345678901234567890", 123456789012345678901234567890.0);
        row("1.", 1.0);
        row("-65.613616999999977", -65.613616999999977);
        row("1E+2", 100.0);
        row("4.9e-324", 4.9e-324);
        row("0.000000000000000000000000000000000001", 1e-36);
        row(R"("either case: \u00e9\u00E9")", "either case: \xc3\xa9\xc3\xa9");
        row(R"("a pair: \ud83d\ude00")", "a pair: \xf0\x9f\x98\x80");
        row(R"("\ud83d")", QString(QChar(0xd83d)));
        row("\"\\\"\\/\\\\\\b\\f\\n\\r\\t\"", "\"/\\\b\f\n\r\t");
        table("bytes are not combined", "\"\xc3\xa9\"", QString::fromLatin1("\xc3\xa9"));
        table("nul", QByteArray("\"a\0b\"", 5), QString::fromLatin1("a\0b", 3));
        const QByteArray x(100, 'x');
        table("long", '"' + x + R"(\n)" + x + '"', QString(x + '\n' + x));
        for (const char* refused : {"1e400", "1e-400", "1e", "1e5e5", "1-2", "--5", "1.2.3", R"("\x")", R"("\u12a")",
                                    R"("\u12g4")", "\"not closed\\\"", "\"ends with \\"})
            row(refused, cJsonValue());
    }
    void readsScalars()
    {
        const auto [text, expected] = cells<QByteArray, cJsonValue>("text", "expected");
        cJsonValue value;
        QCOMPARE(cJsonReader::parse(text, value), !expected.isNull());
        QVERIFY(value == expected);
        QCOMPARE(cJsonReader::parse("[" + text + ",1]", value), !expected.isNull());
        QVERIFY(value[0] == expected);
        QCOMPARE(cJsonReader::parse("{" + text + ":1}", value), expected.isString());
        QCOMPARE(value.keys().value(0), expected.toString());
    }
    void tellsWhereItFailed()
    {
        for (const auto& [text, position] : {std::pair("[1,2]", -1), {"[1, 2 3]", 6}, {"{\"a\" 1}", 6}, {"", 0}}) {
            cJsonReader reader = text;
            reader.parse();
            QCOMPARE(reader.errorPosition(), position);
        }
        const QByteArray text("[[1,2,3],[1,2,3,4]]");
        cJsonParser parser(text.constBegin(), text.constEnd(), 3);
        cJsonValue value(1);
        QVERIFY(!parser.read(value));
        QCOMPARE(parser.failedAt(), text.indexOf(",4"));
        QVERIFY(value.isNull());
        cJsonParser fitting(text.constBegin(), text.constBegin() + 8, 3);
        QVERIFY(!fitting.read(value)); // unclosed, but not too large
        QCOMPARE(value[0].size(), 3u);
    }
    void readsFromSources()
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
        QVERIFY(device.seek(3));
        cJsonReader reader(&device);
        device.close();
        QVERIFY(reader.parse() == cJsonReader(reader).parse());
        QVERIFY(cJsonReader::parse(reader, value));
        QCOMPARE(cJsonWriter::serialize(value), QByteArray("[3]"));
    }
    void writes_data()
    {
        const Rows<cJsonValue, QByteArray> row("value", "text");
        row("lowest int", std::numeric_limits<int>::min(), "-2147483648");
        row("highest uint", 4294967295u, "4294967295");
        row("array", cJsonValue().append(true).append(false).append(cJsonValue()), "[true,false,null]");
        row("six digits", 1234567.0, "1.23457e+06");
        row("rounded to the next power", 999999.5, "1e+06");
        row("zero has no sign", -0.0, "0");
        row("infinity", -std::numeric_limits<double>::infinity(), "-inf");
        row("nan", std::nan(""), "nan");
        row("escapes", "\t\"\xc3\xa9", "\"\\t\\\"\\u00e9\"");
        row("backslash and n", "\\n", R"("\\n")");
        row("pair", "\xf0\x9f\x98\x80", R"("\ud83d\ude00")");
        row("other controls", "\x01\x7f/", "\"\x01\x7f/\"");
        row("nul", QString(QChar(0)), QByteArray("\"\0\"", 3));
        row("empty", cJsonValue().append(ArrayType).append(ObjectType), "[[],{}]");
        row("order", cJsonValue().insert("b", 1).insert("a", "x"), R"({"a":"x","b":1})");
        row("key is not escaped", cJsonValue().insert("a\"\\\n", 1), "{\"a\"\\\n\":1}");
        row("type counts, not content", cJsonValue().append(1).insert("a", 2).append(3), "[1,3]");
    }
    void writes()
    {
        QFETCH(cJsonValue, value);
        QTEST(cJsonWriter::serialize(value), "text");
        QCOMPARE(cJsonWriter::serialize(value), streamed(value));
    }
    void keysInTheEncodingOfStreams()
    {
        for (const QByteArray& name : Encodings::defaults()) {
            Encodings::setDefault(name);
            for (const QString& key :
                 {QString("ascii"), QString::fromUtf8("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), QString(QChar(0xd83d)),
                  QString(QChar(0xde00)) + "x", QString(20, QChar(0xfeff)), QString(QChar(0))}) {
                const cJsonValue value = cJsonValue().insert("plain", cJsonValue().append(1)).insert(key, "x");
                QVERIFY2(cJsonWriter::serialize(value) == streamed(value), name.constData());
            }
        }
        Encodings::setDefault(QByteArray());
    }
    void writesToStreams()
    {
        QString text;
        QTextStream stream(&text);
        stream.setRealNumberNotation(QTextStream::FixedNotation);
        stream.setRealNumberPrecision(2);
        stream.setIntegerBase(16);
        QCOMPARE(&cJsonValue().append(1.23456).append(255).serialize(stream), &stream);
        cJsonValue().append(1).prettySerialize(stream, 1, 2);
        cJsonValue(ArrayType).prettySerialize(stream, 1, -2);
        stream.flush();
        // The quotes are those of the JSON alone; the stream goes on as it was.
        QDebug(&text) << "x" << cJsonValue().insert(QString(QChar(0xe4)), "\t\"") << QString("q");
        QDebug(&text).nospace() << cJsonValue() << cJsonValue(1);
        QCOMPARE(text, QString::fromUtf8("[1.23,ff][\n   1\n  ][\n]x {\"\u00e4\":\"\\t\\\"\"} \"q\" null1"));
    }
    void writesInLines()
    {
        cJsonValue value;
        value["a"] = 1;
        value["b"].append(true);
        QCOMPARE(value.prettyPrint(2), QString("{\n  \"a\" : 1,\n  \"b\" : \n  [\n    true\n  ]\n}"));
        QCOMPARE(value.prettyPrint(0), QString("{\n\"a\" : 1,\n\"b\" : \n[\ntrue\n]\n}"));
        QCOMPARE(value.prettyPrint(-3), value.prettyPrint(0));
        QCOMPARE(cJsonValue(ArrayType).prettyPrint(4), QString("[\n]"));
        QCOMPARE(cJsonValue().append(ObjectType).append("\xc3\xa9").prettyPrint(1),
                 QString("[\n {\n },\n \"\\u00e9\"\n]"));
    }
    void noTypeIsFatal()
    {
        for (const char* form : {"write", "print"}) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {"child", form});
            QVERIFY(child.waitForFinished());
            QVERIFY(Platform::isAborted(child));
            QVERIFY2(child.readAllStandardError().contains("switch statement not complete!"), form);
        }
    }
};

static int writeNoType(const QStringList& words)
{
    const cJsonValue noType = cJsonValue().append(JsonValueType(8));
    return words.first() == "write" ? cJsonWriter::serialize(noType).size() : noType.prettyPrint(2).size();
}

int main(int argc, char** argv)
{
    return runTestOrChild<tst_JsonText>(argc, argv, writeNoType);
}

#include "tst_JsonText.moc"
