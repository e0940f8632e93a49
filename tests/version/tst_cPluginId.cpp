#include "version/Shown.h"
#include "version/cPluginId.h"

#include <Rows.h>

class tst_cPluginId : public QObject
{
    Q_OBJECT

private slots:
    void parses_data()
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
    void parses()
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
    void givesWhatItIsKnownBy()
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
};

QTEST_APPLESS_MAIN(tst_cPluginId)
#include "tst_cPluginId.moc"
