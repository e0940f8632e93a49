#include <Norvale/cJsonWriter.h>

#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QDebug>
#include <QtCore/QProcess>
#include <QtCore/QTextCodec>
#include <QtCore/QTextStream>
#include <QtTest/QTest>

#include <cmath>
#include <limits>

Q_DECLARE_METATYPE(cJsonValue)

namespace {

QByteArray streamed(const cJsonValue& value)
{
    QByteArray text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    stream << value;
    stream.flush();
    return text;
}

cJsonValue withKey(const QString& key)
{
    cJsonValue value;
    value[QStringLiteral("plain")].append(1);
    value[key] = QStringLiteral("x");
    return value;
}

} // namespace

class tst_cJsonWriter : public QObject
{
    Q_OBJECT

private slots:
    void compact_data();
    void compact();
    void keysInTheCodecOfTheLocale_data();
    void keysInTheCodecOfTheLocale();
    void settingsOfTheStream();
    void pretty();
    void prettyOfAnotherLevel();
    void debugStream();
    void noTypeIsFatal();
};

void tst_cJsonWriter::compact_data()
{
    QTest::addColumn<cJsonValue>("value");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("null") << cJsonValue() << QByteArray("null");
    QTest::newRow("lowest int") << cJsonValue(std::numeric_limits<int>::min()) << QByteArray("-2147483648");
    QTest::newRow("highest uint") << cJsonValue(4294967295u) << QByteArray("4294967295");
    QTest::newRow("booleans") << cJsonValue().append(true).append(false) << QByteArray("[true,false]");
    const std::pair<double, const char*> doubles[] = {{0.1, "0.1"},
                                                      {2.0, "2"},
                                                      {1234567.0, "1.23457e+06"},
                                                      {1e-7, "1e-07"},
                                                      {1e8, "1e+08"},
                                                      {-0.0, "0"},
                                                      {0.0001, "0.0001"},
                                                      {999999.5, "1e+06"},
                                                      {100000.5, "100001"},
                                                      {-1.5e-300, "-1.5e-300"},
                                                      {120000, "120000"},
                                                      {-std::numeric_limits<double>::infinity(), "-inf"}};
    for (const auto& number : doubles)
        QTest::newRow(number.second) << cJsonValue(number.first) << QByteArray(number.second);
    QTest::newRow("nan") << cJsonValue(std::nan("")) << QByteArray("nan");
    QTest::newRow("escapes") << cJsonValue("\t\"\xc3\xa9") << QByteArray(R"("\t\"\u00e9")");
    QTest::newRow("backslash and n") << cJsonValue("\\n") << QByteArray(R"("\\n")");
    QTest::newRow("pair") << cJsonValue("\xf0\x9f\x98\x80") << QByteArray(R"("\ud83d\ude00")");
    QTest::newRow("other controls") << cJsonValue("\x01\x7f/") << QByteArray("\"\x01\x7f/\"");
    QTest::newRow("nul") << cJsonValue(QString(QChar(0))) << QByteArray("\"\0\"", 3);
    QTest::newRow("empty") << cJsonValue().append(cJsonValue(ArrayType)).append(cJsonValue(ObjectType))
                           << QByteArray("[[],{}]");
    QTest::newRow("order") << cJsonValue().insert("b", 1).insert("a", "x") << QByteArray(R"({"a":"x","b":1})");
    QTest::newRow("key is not escaped") << cJsonValue().insert("a\"\\\n", 1) << QByteArray("{\"a\"\\\n\":1}");
    QTest::newRow("type counts, not content") << cJsonValue().append(1).insert("a", 2).append(3) << QByteArray("[1,3]");
}

void tst_cJsonWriter::compact()
{
    QFETCH(cJsonValue, value);
    QTEST(cJsonWriter::serialize(value), "text");
    QCOMPARE(cJsonWriter::serialize(value), streamed(value));
}

void tst_cJsonWriter::keysInTheCodecOfTheLocale_data()
{
    QTest::addColumn<QByteArray>("codec");
    for (const char* name : {"UTF-8", "ISO-8859-1", "ISO-8859-15", "UTF-16", "Shift_JIS"}) {
        if (QTextCodec::codecForName(name))
            QTest::newRow(name) << QByteArray(name);
    }
}

void tst_cJsonWriter::keysInTheCodecOfTheLocale()
{
    QFETCH(QByteArray, codec);
    QTextCodec* const before = QTextCodec::codecForLocale();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName(codec));
    for (const QString& key :
         {QString("ascii"), QString::fromUtf8("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), QString(QChar(0xd83d)),
          QString(QChar(0xde00)) + "x", QString(20, QChar(0xfeff)), QString(QChar(0))}) {
        const cJsonValue value = withKey(key);
        QCOMPARE(cJsonWriter::serialize(value), streamed(value));
    }
    QTextCodec::setCodecForLocale(before);
}

void tst_cJsonWriter::settingsOfTheStream()
{
    QString text;
    QTextStream stream(&text);
    stream.setRealNumberNotation(QTextStream::FixedNotation);
    stream.setRealNumberPrecision(2);
    stream.setIntegerBase(16);
    QCOMPARE(&cJsonValue().append(1.23456).append(255).serialize(stream), &stream);
    stream.flush();
    QCOMPARE(text, QString("[1.23,ff]"));
}

void tst_cJsonWriter::pretty()
{
    cJsonValue value;
    value["a"] = 1;
    value["b"].append(true);
    QCOMPARE(value.prettyPrint(2), QString("{\n  \"a\" : 1,\n  \"b\" : \n  [\n    true\n  ]\n}"));
    QCOMPARE(value.prettyPrint(0), QString("{\n\"a\" : 1,\n\"b\" : \n[\ntrue\n]\n}"));
    QCOMPARE(value.prettyPrint(-3), value.prettyPrint(0));
    QCOMPARE(cJsonValue(ArrayType).prettyPrint(4), QString("[\n]"));
    QCOMPARE(cJsonValue().append(cJsonValue(ObjectType)).append("x").prettyPrint(1), QString("[\n {\n },\n \"x\"\n]"));
    QCOMPARE(cJsonValue("\xc3\xa9").prettyPrint(4), QString("\"\\u00e9\""));
}

void tst_cJsonWriter::prettyOfAnotherLevel()
{
    QString text;
    QTextStream stream(&text);
    cJsonValue().append(1).prettySerialize(stream, 1, 2);
    cJsonValue(ArrayType).prettySerialize(stream, 1, -2);
    stream.flush();
    QCOMPARE(text, QString("[\n   1\n  ][\n]"));
}

void tst_cJsonWriter::debugStream()
{
    QString text;
    QDebug(&text).nospace().noquote() << cJsonValue().insert("a", 1) << cJsonValue();
    QCOMPARE(text, QString("{\"a\":1}null"));
}

void tst_cJsonWriter::noTypeIsFatal()
{
    for (const char* form : {"--write-no-type", "--print-no-type"}) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {form});
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        QVERIFY2(child.readAllStandardError().contains("switch statement not complete!"), form);
    }
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const cJsonValue noType = cJsonValue().append(cJsonValue(JsonValueType(8)));
    if (application.arguments().contains("--write-no-type"))
        return cJsonWriter::serialize(noType).size();
    if (application.arguments().contains("--print-no-type"))
        return noType.prettyPrint(2).size();
    tst_cJsonWriter test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cJsonWriter.moc"
