#include <Norvale/cVersion.h>
#include <Rows.h>

class tst_cVersion : public QObject
{
    Q_OBJECT

private slots:
    void reads_data()
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
    void reads()
    {
        QFETCH(QString, text);
        const cVersion version(text);
        const QString numbers = QString("%1.%2.%3").arg(version.major()).arg(version.minor()).arg(version.build());
        QTEST(numbers + " " + version.toString(), "read");
    }
    void orders()
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
};

QTEST_APPLESS_MAIN(tst_cVersion)
#include "tst_cVersion.moc"
