#include "cPluginSuite.h"
#include <SettingsSandbox.h>

#include <Norvale/cLogCentral.h>

#include <QtCore/QProcess>
#include <QtTest/QtTest>

/// A set of plugins that cannot be ordered ends the process, so each is started in a child process: this program again,
/// called with the log file and the dependencies of the plugins A and B.
class tst_unorderable : public QObject
{
    Q_OBJECT

private slots:
    void endsTheProcess_data();
    void endsTheProcess();
};

static int startInChild(const QStringList& arguments)
{
    SettingsSandbox sandbox;
    cPluginSuite suite;
    cLogCentral::setLogFile(arguments.at(1));
    suite.add(QStringLiteral("Free"), QStringLiteral("plain"));
    suite.add(QStringLiteral("A"), QStringLiteral("plain"), cPluginSuite::dependsOn({arguments.at(2)}));
    suite.add(QStringLiteral("B"), QStringLiteral("plain"), cPluginSuite::dependsOn({arguments.at(3)}));
    const bool isStarted = suite.manager.StartNormal();
    return isStarted && cPluginSuite::journal().size() == 3 ? 0 : 1;
}

void tst_unorderable::endsTheProcess_data()
{
    QTest::addColumn<QStringList>("dependencies"); // of A and of B
    QTest::addColumn<QByteArray>("reason");        // empty: it can be ordered

    QTest::newRow("circle") << QStringList({"B", "A"}) << QByteArray("circle: A -> B -> A");
    QTest::newRow("absent") << QStringList({"Free", "Nobody"}) << QByteArray("B depends on Nobody");
    QTest::newRow("sound") << QStringList({"B", "Free"}) << QByteArray();
}

void tst_unorderable::endsTheProcess()
{
    QFETCH(QStringList, dependencies);
    QFETCH(QByteArray, reason);
    QTemporaryDir dir;
    const QString logFile = dir.filePath(QStringLiteral("log.txt"));
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"TMPDIR", "TEMP"}) // a process that is ended does not clear up behind itself
        environment.insert(QString::fromLatin1(variable), dir.path());
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), QStringList(logFile) + dependencies);
    QVERIFY(child.waitForFinished());
    QFile log(logFile);
    QVERIFY(log.open(QIODevice::ReadOnly));
    QVERIFY(log.readAll().contains(reason));
    const QByteArray errors = child.readAllStandardError();
    QCOMPARE(errors.contains("Cannot start under this circumstances."), !reason.isEmpty());
    QCOMPARE(child.exitStatus(), reason.isEmpty() ? QProcess::NormalExit : QProcess::CrashExit);
    if (reason.isEmpty())
        QCOMPARE(child.exitCode(), 0);
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().size() == 4)
        return startInChild(application.arguments());
    tst_unorderable test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_unorderable.moc"
