#include "install/cConditionEngine.h"

#include <ChildRun.h>
#include <Rows.h>

#include <cstdio>

/// Conditions on the system's version, on systems of those versions: Wine shows each program the one that is set for
/// it.
class tst_WindowsVersions : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QSettings(key(), QSettings::NativeFormat).remove(""); }
    void tellsThemApart_data()
    {
        const Rows<QString, QString> row("version", "said");
        row("XP", "winxp", "isWinXP");
        row("XP of 64 bits has the number of Server 2003", "winxp64", "");
        row("Vista", "vista", "isVista");
        row("7", "win7", "isWin7");
        row("8", "win8", "");
        row("10", "win10", "");
    }
    void tellsThemApart()
    {
        QFETCH(QString, version);
        const QTemporaryDir folder;
        const QString program = folder.filePath(Name);
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
        {
            QSettings(key(), QSettings::NativeFormat).setValue("Version", version);
        }
        const Ended child = runToEnd(program, {"child"}, {});
        QCOMPARE(child.code, 0);
        QTEST(child.output, "said");
    }

private:
    static constexpr char Name[] = "tst_WindowsVersionsChild.exe";
    static QString key() { return QString("HKEY_CURRENT_USER\\Software\\Wine\\AppDefaults\\") + Name; }
};

static int tellVersions(const QStringList&)
{
    for (const char* name : {"isWinXP", "isVista", "isWin7"}) {
        if (cConditionEngine().isTrue(QString("%1()").arg(name)))
            std::fputs(name, stdout);
    }
    return 0;
}

TEST_OR_CHILD_MAIN(tst_WindowsVersions, tellVersions)
#include "tst_WindowsVersions.moc"
