#include <Norvale/cVersion.h>
#include <QtTest/QtTest>

class tst_cVersion : public QObject
{
    Q_OBJECT

private slots:
    void reads_data();
    void reads();
    void orders_data();
    void orders();
};

void tst_cVersion::reads_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("build");
    QTest::addColumn<QString>("printed");

    const auto row = [](const char* name, const char* text, int major, int minor, int build, const char* printed) {
        QTest::newRow(name) << QString::fromLatin1(text) << major << minor << build << QString::fromLatin1(printed);
    };
    row("empty", "", 0, 0, 0, "0.00.000");
    row("no point", "7", 0, 0, 0, "0.00.000");
    row("nothing after the point", "7.", 7, 0, 0, "7.00.000");
    row("nothing before the point", ".5", 0, 5, 0, "0.05.000");
    row("two components", "1.2", 1, 2, 0, "1.02.000");
    row("nothing after the second point", "1.2.", 1, 2, 0, "1.02.000");
    row("nothing between the points", "1..3", 1, 0, 3, "1.00.003");
    row("three components", "8.12.87", 8, 12, 87, "8.12.087");
    row("leading zeros", "8.12.087", 8, 12, 87, "8.12.087");
    row("wide components", "10.200.3000", 10, 200, 3000, "10.200.3000");
    row("four components", "1.2.3.4", 1, 2, 0, "1.02.000");
    row("minor is no number", "1.x.3", 1, 0, 3, "1.00.003");
    row("nothing is a number", "a.b.c", 0, 0, 0, "0.00.000");
    row("a sign is no digit", "-1.2.3", 0, 2, 3, "0.02.003");
    row("hexadecimal is no number", "0x10.2.3", 0, 2, 3, "0.02.003");
    row("above 2147483647", "2147483648.0.4294967294", -2147483647 - 1, 0, -2, "-2147483648.00.-02");
    row("largest minor", "1.4294967295.0", 1, -1, 0, "1.-1.000");
    row("largest build", "1.0.4294967295", 1, 0, -1, "1.00.-01");
    row("too large", "4294967296.1.1", 0, 1, 1, "0.01.001");
}

void tst_cVersion::reads()
{
    QFETCH(QString, text);
    const cVersion version(text);
    QTEST(version.major(), "major");
    QTEST(version.minor(), "minor");
    QTEST(version.build(), "build");
    QTEST(version.toString(), "printed");
    if (version >= cVersion() && version.minor() >= 0 && version.build() >= 0)
        QVERIFY(cVersion(version.toString()) == version);
}

void tst_cVersion::orders_data()
{
    QTest::addColumn<QString>("low");
    QTest::addColumn<QString>("high");
    QTest::addColumn<bool>("isEqual");

    QTest::newRow("minor by number, not by digit") << "1.9.999"
                                                   << "1.10.0" << false;
    QTest::newRow("major before minor") << "1.99.999"
                                        << "2.0.0" << false;
    QTest::newRow("build") << "1.2.3"
                           << "1.2.4" << false;
    QTest::newRow("equal in other forms") << "1.2.3"
                                          << "1.02.003" << true;
    QTest::newRow("signed") << "4294967295.0.0"
                            << "0.0.0" << false;
    QTest::newRow("signed minor") << "1.4294967295.9"
                                  << "1.0.0" << false;
    QTest::newRow("signed build") << "1.0.4294967295"
                                  << "1.0.0" << false;
}

void tst_cVersion::orders()
{
    QFETCH(QString, low);
    QFETCH(QString, high);
    QFETCH(bool, isEqual);
    const cVersion a(low);
    const cVersion b(high);
    QCOMPARE(a == b, isEqual);
    QCOMPARE(a != b, !isEqual);
    QCOMPARE(a < b, !isEqual);
    QCOMPARE(b > a, !isEqual);
    QCOMPARE(b < a, false);
    QCOMPARE(a > b, false);
    QCOMPARE(a <= b, true);
    QCOMPARE(b >= a, true);
    QCOMPARE(b <= a, isEqual);
    QCOMPARE(a >= b, isEqual);
}

QTEST_APPLESS_MAIN(tst_cVersion)

#include "tst_cVersion.moc"
