#include "version/FlatMap.h"
#include "version/Shown.h"

#include <Rows.h>

/// Versions, the names of plugins, the ids that are made of both, and the hash by which they are found.
class tst_Names : public QObject
{
    Q_OBJECT

private slots:
    void readsVersions_data()
    {
        const Rows<QString, QString> row("text", "read");
        row("empty", "", "0.0.0 0.00.000");
        row("no point", "7", "0.0.0 0.00.000");
        row("nothing after the point", "7.", "7.0.0 7.00.000");
        row("two components", "1.2", "1.2.0 1.02.000");
        row("nothing before and between the points", "..3", "0.0.3 0.00.003");
        row("leading zeros", "8.12.087", "8.12.87 8.12.087");
        row("wide components", "10.200.3000", "10.200.3000 10.200.3000");
        row("four components", "1.2.3.4", "1.2.0 1.02.000");
        row("no numbers", "0x10.-2.x", "0.0.0 0.00.000");
        row("above 2147483647", "2147483648.0.4294967294", "-2147483648.0.-2 -2147483648.00.-02");
        row("largest", "1.4294967295.4294967295", "1.-1.-1 1.-1.-01");
        row("too large", "4294967296.1.1", "0.1.1 0.01.001");
    }
    void readsVersions()
    {
        QFETCH(QString, text);
        const cVersion version(text);
        const QString numbers = QString("%1.%2.%3").arg(version.major()).arg(version.minor()).arg(version.build());
        QTEST(numbers + " " + version.toString(), "read");
    }
    void ordersVersions()
    {
        const QStringList ascending{"4294967295.9.9", "0.9.9", "1.4294967295.9", "1.0.4294967295",
                                    "1.2.3",          "1.2.4", "1.10.0",         "2.0.0"};
        for (int i = 0; i < ascending.size(); ++i) {
            for (int j = 0; j < ascending.size(); ++j) {
                const cVersion a = ascending.at(i); // converts implicitly, as the other classes of one argument do
                const cVersion b(QString(ascending.at(j)).replace(".", ".0"));
                const QVector<bool> answers{a == b, a != b, a<b, a> b, a <= b, a >= b};
                QCOMPARE(answers, (QVector<bool>{i == j, i != j, i<j, i> j, i <= j, i >= j}));
            }
        }
    }
    void parsesIds_data()
    {
        const Rows<QString, QString> row("text", "name");
        row("plain", "Name-1.02.003", "Name");
        row("a dash in the name", "My-Name-1.02.003", "My-Name");
        row("a version in the name", "A-1.02.003-4.05.006", "A-1.02.003");
        row("a line end in the name", "A\nB-1.02.003", "A\nB");
        row("a dash at the end of the name", "A--1.02.003", "A-");
        row("negative components behind the first", "A-1.-1.-01", "A");
        row("the largest", "A-2147483647.2147483647.2147483647", "A");
        row("no name", "-1.02.003", "");
        row("no dash", "Name1.02.003", "");
        row("another form of the version", "Name-1.2.3", "");
        row("two components", "Name-1.02", "");
        row("a number too large", "Name-4294967297.02.003", "");
        row("empty", "", "");
    }
    void parsesIds()
    {
        QFETCH(QString, text);
        const cPluginId id = cPluginId::parse(text);
        QTEST(id.name(), "name");
        QCOMPARE(id.isNull() ? text : id.toString(), text);
    }
    void namesThatStayInTheirFolder()
    {
        for (const char* name : {"a", "Foo-1.02.003", ".hidden", "..data", "a..b.txt", "a.b c", "console", "com",
                                 "com12", "lpt", "\u00e4.zip"})
            QVERIFY2(isSafeFileName(QString::fromUtf8(name)), name);
        QVERIFY(isSafePackageName("a.b"));
        QVERIFY(!isSafePackageName("a..b"));
        for (const char* name : {"",    ".",       "..",     "...",  "a/b",    "/a",        "a\\b",   "C:",     "a:b",
                                 "a\n", "a\x7f",   "a?",     "a*",   "a|b",    "<a>",       "\"a\"",  "a.",     "a ",
                                 "nul", "NUL.txt", "Aux .b", "com1", "LPT9.x", "com\u00b9", "conin$", "conout$"})
            QVERIFY2(!isSafeFileName(QString::fromUtf8(name)), name);
        QVERIFY(!isSafeFileName(QChar(0xd800)));
        QVERIFY(!isSafeFileName(QString(201, 'a')));
    }
    void showsWhatNobodyCanTakeForAnything()
    {
        const QString letters = QString::fromUtf8("C:\\a b~\u00a0\u00e4\u05d0\u20ac\U0001f600");
        QCOMPARE(shown(letters), letters);
        QString text = QString::fromUtf8("a\n\r\t\x1b\x7f\u0085\u202e\u2067\u200f\u061c\u2028z");
        text.append(QChar(0));
        const QString expected = "a\\n\\r\\t\\x1b\\x7f\\x85\\u{202e}\\u{2067}\\u{200f}\\u{61c}\\u{2028}z\\x00";
        QCOMPARE(shown(text), expected);
        QCOMPARE(shown(expected), expected);
    }
    void givesWhatAnIdIsKnownBy()
    {
        const cPluginId id("\u00c4rger", cVersion("1.2.3"));
        QCOMPARE(id.packageFileName(), QString("\u00c4rger-1.02.003.zip"));
        QCOMPARE(id.caselessKey(), cPluginId("A\u0308RGER", cVersion("1.2.3")).caselessKey());
        QVERIFY(id.isSafe());
        for (const char* name : {"", "a/b", "nul", "a."})
            QVERIFY2(!cPluginId(name, cVersion("1.2.3")).isSafe(), name);
        QCOMPARE(qHash(id), qHash(cPluginId("\u00c4rger", cVersion("1.02.003"))));
        QVERIFY(id != cPluginId("\u00c4rger", cVersion("1.2.4")));
    }
    // Qt's hash is one for the texts of a pair whatever its seed is: for the first where it is computed with plain
    // instructions, for the second where the processor has one for it. Qt 6 has another hash.
    void hashTellsApartWhatQtDoesNot()
    {
        int same = 0;
        for (const auto& [one, other] : {std::pair<QString, QString>("Aa", "BB"), {"xxx", "\u7689\u0594y"}}) {
            same += qHash(one, 1U) == qHash(other, 1U);
            QVERIFY(cSeededHash()(one) != cSeededHash()(other));
        }
        QVERIFY(same > 0 || QT_VERSION_MAJOR > 5);
    }
    // A table takes the lowest bits: 2,048 places of which a thousand names are to meet about 790.
    void hashSpreadsNamesThatDifferInTheirLastLetters()
    {
        for (const QString& stem : {QString(), QString("Feature"), QString("Plugin12")}) {
            QSet<size_t> places;
            for (int i = 0; i < 1000; ++i)
                places.insert(cSeededHash()(stem + QString::number(i)) & 2047);
            QVERIFY2(places.size() > 600, qPrintable(stem + QString::number(places.size())));
        }
    }
    void hashTellsTextsAndIdsApart()
    {
        const cSeededHash hash;
        QCOMPARE(hash(QString("ab")), hash(QStringView(u"ab")));
        QVERIFY(hash(QString("ab")) != hash(QString("ba")));
        QVERIFY(hash(QString()) != hash(QString(QChar())));
        const cPluginId id("A", cVersion("1.2.3"));
        QCOMPARE(hash(id), hash(cPluginId("A", cVersion("1.02.003"))));
        QVERIFY(hash(id) != hash(cPluginId("A", cVersion("1.3.2"))));
    }
};

QTEST_APPLESS_MAIN(tst_Names)
#include "tst_Names.moc"
