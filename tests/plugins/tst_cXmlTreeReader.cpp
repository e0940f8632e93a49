#include "plugins/cXmlTreeReader.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

class tst_cXmlTreeReader : public QObject
{
    Q_OBJECT

private slots:
    void plainWayAgreesWithDom();
    void leavesToDom_data();
    void leavesToDom();
};

namespace {

QString dump(const cXmlElement& element)
{
    QString text = QStringLiteral("<%1 a=%2 b=%3 c=%4 @%5 '%6'")
                       .arg(element.tag().toString(), element.attribute(u"a"), element.attribute(u"b", "-"),
                            element.attribute(u"c"), QString::number(element.line()), element.text());
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        text += dump(child);
    return text + QLatin1Char('>');
}

template <int N>
QByteArray oneOf(QRandomGenerator& random, const char* const (&choices)[N])
{
    return choices[random.bounded(N)];
}

QByteArray randomText(QRandomGenerator& random)
{
    QByteArray text;
    for (int n = random.bounded(5); n > 0; --n)
        text += oneOf(random, {"x", " ", "\n", "\t", "  \n", "\xc3\xa4", "\xe2\x82\xac", "\xf0\x9f\x98\x80", ">", "]]",
                               "'", "/", "=", "\xc2\xa0", "\xe2\x80\xa8", "\x7f"});
    return text;
}

QByteArray randomValue(QRandomGenerator& random)
{
    QByteArray value = randomText(random);
    if (random.bounded(50) != 0)
        value.replace('\n', ' ').replace('\t', ' '); // or hardly any document would be plain
    return value;
}

QByteArray randomElement(QRandomGenerator& random, int depth)
{
    const QByteArray tag = oneOf(random, {"p", "plugin", "x:y", "_z.1", "Y-2"});
    QByteArray xml = '<' + tag;
    for (const char* name : {"a", "b", "c"}) {
        if (random.bounded(3) == 0)
            xml += oneOf(random, {" ", "\n", "\t "}) + name + oneOf(random, {"=", " = "}) + '"' + randomValue(random) +
                   '"';
    }
    if (random.bounded(5) == 0)
        return xml + oneOf(random, {"/>", " />", "\n/>"});
    xml += oneOf(random, {">", " >"}) + randomText(random);
    for (int n = depth > 0 ? random.bounded(4) : 0; n > 0; --n)
        xml += randomElement(random, depth - 1) + randomText(random);
    return xml + "</" + tag + oneOf(random, {">", " >", "\n>"});
}

QByteArray randomDocument(QRandomGenerator& random)
{
    QByteArray xml = oneOf(random, {"", "<?xml version=\"1.0\" encoding=\"utf-8\"?>", "\n",
                                    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"});
    xml += randomElement(random, 3) + oneOf(random, {"", "\n", " ", "x"});
    if (random.bounded(4) == 0) // one byte wrong
        xml[random.bounded(xml.size())] = "<>/\"'= a&\xe4\x01?!\n"[random.bounded(15)];
    if (random.bounded(20) == 0)
        xml.truncate(random.bounded(xml.size()));
    return xml;
}

} // namespace

void tst_cXmlTreeReader::plainWayAgreesWithDom()
{
    QRandomGenerator random(20110213);
    const int count = 100000;
    int plain = 0;
    for (int i = 0; i < count; ++i) {
        const QByteArray xml = randomDocument(random);
        cXmlTree tree;
        if (!cXmlTreeReader::readPlain(xml, tree))
            continue;
        cXmlTree domTree;
        QString reason;
        QVERIFY2(cXmlTreeReader::readByDom(xml, domTree, &reason), (reason.toUtf8() + xml).constData());
        if (dump(tree.root()) != dump(domTree.root()))
            QFAIL((xml + "\nplain: " + dump(tree.root()).toUtf8() + "\nDOM: " + dump(domTree.root()).toUtf8())
                      .constData());
        ++plain;
    }
    QVERIFY2(plain > count / 2 && plain < count * 9 / 10, qPrintable(QString::number(plain)));
}

void tst_cXmlTreeReader::leavesToDom_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("text"); // null: the DOM refuses it, too

    QTest::newRow("reference") << QByteArray("<m>a&amp;b</m>") << "a&b";
    QTest::newRow("unknown entity") << QByteArray("<m>a&x;b</m>") << "ab";
    QTest::newRow("comment") << QByteArray("<m>a<!-- x -->b</m>") << "ab";
    QTest::newRow("CDATA") << QByteArray("<m> <![CDATA[ ]]> </m>") << " ";
    QTest::newRow("instruction") << QByteArray("<m>a<?x y?>b</m>") << "ab";
    QTest::newRow("line end") << QByteArray("<m>a\r\nb</m>") << "a\r\nb";
    QTest::newRow("line end in an attribute") << QByteArray("<m a='\n'>a</m>") << "a";
    QTest::newRow("encoding") << QByteArray("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><m>\xe4</m>")
                              << QString(QChar(0xe4));
    QTest::newRow("not UTF-8") << QByteArray("<m>\xe4</m>") << QString(QChar(QChar::ReplacementCharacter));
    QTest::newRow("too deep") << QByteArray("<m>").repeated(1001) + QByteArray("</m>").repeated(1001) << QString();
    QTest::newRow("tag mismatch") << QByteArray("<m><n></m>") << QString();
}

void tst_cXmlTreeReader::leavesToDom()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, text);
    cXmlTree tree;
    QVERIFY(!cXmlTreeReader::readPlain(xml, tree));
    QString reason;
    QCOMPARE(cXmlTreeReader::read(xml, tree, &reason), !text.isNull());
    QCOMPARE(reason.isEmpty(), !text.isNull());
    QCOMPARE(tree.root().text(), text);
}

QTEST_APPLESS_MAIN(tst_cXmlTreeReader)
#include "tst_cXmlTreeReader.moc"
