#include "SettingsSandbox.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <QtTest/QtTest>

class tst_Installation : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_sandbox.setInstallDir(m_sandbox.path() + "/suite");
        QVERIFY(Corvane::initializeFolderOrFile());
    }
    void folderTable_data()
    {
        QTest::addColumn<QString>("path");

        // The number in front of each row is the value; a path begins in the root (~) or in the data folder (@).
        const char* const paths[] = {"~",
                                     "~",
                                     "~",
                                     "~/plugins",
                                     "@/Dropbox",
                                     "~/Bootstrap",
                                     "~/Repository",
                                     "@",
                                     "@",
                                     "",
                                     "",
                                     "~/plugins/features.xml",
                                     "@/Dropbox/repository.xml",
                                     "~/Bootstrap/repository.xml",
                                     "~/Repository/VelmDev.xml",
                                     "@/settings.json",
                                     "",
                                     "",
                                     "",
                                     "",
                                     "~/VCore.exe",
                                     "~/VRestart.exe",
                                     "~/VInstall.exe",
                                     ""};
        int value = 0;
        for (const char* path : paths)
            QTest::addRow("%d", value++) << QString(path);
        QTest::newRow("-1") << QString();
        QTest::newRow("100000") << QString();
    }
    void folderTable()
    {
        QFETCH(QString, path);
        path.replace('~', m_sandbox.path() + "/suite");
        path.replace('@', QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation));

        const int value = QByteArray(QTest::currentDataTag()).toInt();
        QCOMPARE(Corvane::velmiraFolderOrFile(Corvane::VelmFolderOrFile(value)), path);
        QVERIFY2(!QFileInfo::exists(m_sandbox.path() + "/suite"), "nothing is created");
    }
    void pluginDir_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("folder");

        QTest::newRow("two numbers") << "2.1"
                                     << "Foo-2.01.000";
        QTest::newRow("printed form") << "1.02.003"
                                      << "Foo-1.02.003";
        QTest::newRow("no version") << QString() << "Foo-0.00.000";
    }
    void pluginDir()
    {
        QFETCH(QString, version);
        QTEST(Corvane::pluginDir("Foo", version).dirName(), "folder");
        QCOMPARE(QFileInfo(Corvane::pluginDir("Foo", version).path()).path(), m_sandbox.path() + "/suite/plugins");
    }
    void recordIsReadAnew()
    {
        m_sandbox.setInstallDir(m_sandbox.path() + "/moved/../other");
        QVERIFY(Corvane::initializeFolderOrFile());
        QCOMPARE(Corvane::velmiraFolderOrFile(Corvane::CoreFolder), m_sandbox.path() + "/other");

        m_sandbox.removeMachineValue("InstallDir");
        QVERIFY(Corvane::initializeFolderOrFile());
        QCOMPARE(Corvane::velmiraFolderOrFile(Corvane::CoreFolder), QDir::currentPath());
    }
    void corePrefixResolves()
    {
        QVERIFY(QDir(m_sandbox.path()).mkpath("suite/plugins/Foo-1.00.000"));
        QVERIFY(Corvane::initializeFolderOrFile());
        QCOMPARE(QDir::searchPaths("core").count(m_sandbox.path() + "/suite"), 1);
        QCOMPARE(QFileInfo("core:plugins/Foo-1.00.000").absoluteFilePath(),
                 Corvane::pluginDir("Foo", "1.0").absolutePath());
    }
    void currentVersion()
    {
        QCOMPARE(Corvane::currentVersion(), QString("0.00.000"));
        m_sandbox.setMachineValue("ConfigMgr/RepositoryVersion", "1.02.003");
        QCOMPARE(Corvane::currentVersion(), QString("1.02.003"));
    }

private:
    SettingsSandbox m_sandbox;
};

QTEST_GUILESS_MAIN(tst_Installation)
#include "tst_Installation.moc"
