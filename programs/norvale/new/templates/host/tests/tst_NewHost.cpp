#include "cHost.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>

#include <QtTest/QtTest>

/// The host as a process of its own on a small suite, and what it does for an update. The probe in the suite ends it.
class tst_NewHost : public QObject
{
    Q_OBJECT

    QTemporaryDir m_own; // suite, settings and data of this run

    /// Runs the host to its end. @return what it has logged meanwhile.
    static QString run()
    {
        QFile::remove(cHost::logFile());
        if (QProcess::execute(HOST, {}) != 0)
            return QStringLiteral("the host has failed");
        QFile log(cHost::logFile());
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QStringLiteral("there is no log");
    }

private slots:
    void initTestCase()
    {
        for (const char* variable : {"XDG_CONFIG_DIRS", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            qputenv(variable, QFile::encodeName(m_own.path()));
        qputenv("PROBE_ENDS_HOST", "1");
        cHost::nameApplication();
        const QString suite = m_own.filePath("suite");
        QCOMPARE(QProcess::execute(CMAKE, {"-E", "copy_directory", SUITE, suite}), 0);
        QVERIFY(QDir::setCurrent(suite)); // taken for the installation where none is set
        Corvane::initializeFolderOrFile();
        if (Corvane::velmiraFolderOrFile(Corvane::CoreFolder) != QDir::currentPath())
            QSKIP("this machine has another installation set, which the test leaves alone");
    }

    void startsAndStopsTheSuite()
    {
        const QString log = run();
        QVERIFY2(log.contains("the probe has started"), qPrintable(log));
        QVERIFY2(log.contains("the probe has stopped"), qPrintable(log));
    }

    void fetchesAnUpdateAndInstallsIt()
    {
#ifdef Q_OS_WIN
        QSKIP("an update is noted in the settings of the machine, which the test leaves alone");
#endif
        QSettings(QSettings::SystemScope, "Varkel", "Pelmora").setValue("ConfigMgr/RepositoryName", "main");
        cHost host;
        QSignalSpy progress(&host, &cHost::progressed);
        QVERIFY(host.initialize());
        QVERIFY(IConfigMgr::setUpdateLocations({QUrl::fromLocalFile(SITE)}));
        QString said;
        QVERIFY2(host.update(&said), qPrintable(said));
        QVERIFY(!progress.isEmpty());

        const QString log = run();
        QVERIFY2(log.contains("the probe has started"), qPrintable(log));
        QVERIFY(QDir("plugins/Probe-2.00.000").exists());
        QVERIFY(!QDir("plugins/Probe-1.00.000").exists());
    }
};

QTEST_GUILESS_MAIN(tst_NewHost)
#include "tst_NewHost.moc"
