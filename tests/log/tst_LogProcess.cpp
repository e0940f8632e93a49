#include "SettingsSandbox.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

/// What ends the process, or is seen at its end.
class tst_LogProcess : public QObject
{
    Q_OBJECT

private slots:
    void fatalConditions_data();
    void fatalConditions();
    void warningIsOnDiskBeforeTheEnd();
    void bufferedLinesAreOnDiskAtTheEnd();
    void debuggerLinesGoToStandardError();
    void systemChannelKeepsItsSwitch();

private:
    QByteArray run(const QStringList& arguments, bool mayCrash = false);
    QByteArray content(const QString& path) const;
    QString file(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    SettingsSandbox m_sandbox;
    QTemporaryDir m_folder;
};

/// Runs the child. @return what it wrote on standard error; null when it did not end as expected.
QByteArray tst_LogProcess::run(const QStringList& arguments, bool mayCrash)
{
    QProcess process;
    process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/logChild"), arguments);
    if (!process.waitForFinished(60000) || (process.exitStatus() == QProcess::CrashExit) != mayCrash)
        return QByteArray();
    return process.exitCode() == 0 || mayCrash ? process.readAllStandardError() + "" : QByteArray();
}

QByteArray tst_LogProcess::content(const QString& path) const
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_LogProcess::fatalConditions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("text");
    const QString path = m_folder.filePath(QStringLiteral("absent/100%s.log"));
    QTest::newRow("no channel") << QStringList{QStringLiteral("noChannel")}
                                << QByteArray("Called output without a logger!\n");
    QTest::newRow("no file") << QStringList{QStringLiteral("noFile"), path}
                             << "Failed to open log file " + path.toLatin1() + '\n';
}

void tst_LogProcess::fatalConditions()
{
    QFETCH(QStringList, arguments);
    QTEST(run(arguments, true), "text");
}

void tst_LogProcess::warningIsOnDiskBeforeTheEnd()
{
    run({QStringLiteral("abort"), file("abort.log")}, true);
    const QList<QByteArray> lines = content(file("abort.log")).split('\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines.at(0).endsWith("):before ") && lines.at(0).contains("-!("));
    QVERIFY(lines.at(1).endsWith("):reason "));
}

void tst_LogProcess::bufferedLinesAreOnDiskAtTheEnd()
{
    run({QStringLiteral("system"), file("end.log")});
    QVERIFY(content(file("end.log")).endsWith(":at first \n"));
}

void tst_LogProcess::debuggerLinesGoToStandardError()
{
    const QList<QByteArray> lines = run({QStringLiteral("debugger")}).split('\n');
    QCOMPARE(lines.size(), 3);
    const QRegularExpression first(QStringLiteral("^T[1-9][0-9]*:%3:%1 with a line end $"));
    const QRegularExpression second(QStringLiteral("^T[1-9][0-9]*:!:without $"));
    QVERIFY(first.match(QString::fromLatin1(lines.at(0))).hasMatch());
    QVERIFY(second.match(QString::fromLatin1(lines.at(1))).hasMatch());
    QVERIFY(lines.at(2).isEmpty());
}

/// It reads its switch when it is first used, and stores it at the end, under the names that the host has set by then.
void tst_LogProcess::systemChannelKeepsItsSwitch()
{
    const QString key = QStringLiteral("Log/!/enabled");
    const QString child = QStringLiteral("Child");
    const auto stored = [&] { return QSettings(QCoreApplication::organizationName(), child).value(key); };

    run({QStringLiteral("system"), file("on.log")});
    QCOMPARE(stored().toString(), QStringLiteral("true"));
    run({QStringLiteral("system"), file("on.log"), QStringLiteral("disable")});
    QCOMPARE(stored().toString(), QStringLiteral("false"));
    run({QStringLiteral("system"), file("off.log")});
    QCOMPARE(stored().toString(), QStringLiteral("false"));
    QVERIFY(QFile::exists(file("off.log")));
    QVERIFY(content(file("off.log")).isEmpty());
}

QTEST_GUILESS_MAIN(tst_LogProcess)

#include "tst_LogProcess.moc"
