#include "Outcome.h"
#include "Packages.h"

#include <Files.h>
#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Rows.h>
#include <SettingsSandbox.h>
#include <Tree.h>

/// The install manager as a host sees it: what it tells of an install, and packages that belong to no repository. The
/// packages are made by tests/support/packages.py.
class tst_IInstallMgr : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_root = m_sandbox.path() + "/root";
        m_sandbox.setInstallDir(m_root + "/core");
        qputenv("JOURNAL", QFile::encodeName(m_root + "/journal"));
        QVERIFY(QDir().mkpath(m_root));
        QVERIFY(!IInstallMgr::installPackage(package("A", "1.0")));
        QCOMPARE(IInstallMgr::lastOutcome().result, cInstallOutcome::NotMade);
        QVERIFY(Corvane::initialize());
    }
    void init() { QVERIFY(QDir().mkpath(m_root)); }
    void cleanup()
    {
        QVERIFY(IInstallMgr::uninstallPlugins());
        QVERIFY(QDir(m_root).removeRecursively());
    }
    void saysThatTheDiskRefuses()
    {
        QVERIFY(QDir().mkpath(m_root + "/core/plugins/unfinished.txt/below"));
        QVERIFY(!install({"main 2.0", "Core 2.0: A 2.0"}));
        const cInstallOutcome outcome = IInstallMgr::lastOutcome();
        QCOMPARE(outcome.result, cInstallOutcome::Failed);
        QVERIFY(outcome.hasDiskRefused);
        QVERIFY2(told(outcome).contains("/unfinished.txt cannot be written"), qPrintable(told(outcome)));
    }
    void curesWhatWasBrokenBefore()
    {
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
        const QString manifest = m_root + "/core/plugins/A-1.00.000/Manifest.xml";
        writeFile(manifest, readFile(manifest).replace("\"13\"", "\"12\""));
        QVERIFY(install({"main 1.1", "Core 1.0: A 1.0", "More 1.0: C 1.0"}));
        QVERIFY(!install({"main 1.2", "Core 2.0: A 2.0 !api", "Third 1.0: D 1.0 !needs=A"}));
        QVERIFY(install({"main 1.3", "Core 2.1: A 2.1"}));
        QCOMPARE(installed(),
                 QString("Core 2.01.000: A-2.01.000; More 1.00.000: C-1.00.000; Third 1.00.000: D-1.00.000"));
    }
    void consumesWhatItHasTaken()
    {
        QVERIFY(install({"main 2.0", "Core 2.0: A 2.0"}, true));
        QVERIFY(!install({"main 2.1", "Core 1.0: A 1.0", "More 1.0: C 1.0", "Third 1.0: D 1.0 !damaged"}, true));
        QCOMPARE(QDir(m_root + "/site").entryList(QDir::Files).join(' '), QString("A-1.00.000.zip"));
    }
    void refusesWithADamagedCatalogue()
    {
        const QString plugins = m_root + "/core/plugins", file = plugins + "/features.xml";
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
        QVERIFY(QFile::rename(file, m_root + "/kept"));
        QVERIFY(QFile::remove(m_root + "/journal"));
        writeFile(file, "<repository version=\"1.0\">\n<feature name=\"Core\" vers");
        writeFile(plugins + "/unfinished.txt", "A-1.00.000\n");
        for (const char* folder : {"/site", "/core/Bootstrap"})
            makeRepository(m_root + folder, {"main 2.0", "Core 2.0: A 2.0"});
        const QString single = package("Z", "1.0");
        const Tree before = treeOf(m_root);
        const auto isRefused = [&](bool isDone) {
            const cInstallOutcome outcome = IInstallMgr::lastOutcome();
            return !isDone && outcome.result == cInstallOutcome::Failed &&
                   outcome.reason.contains("features.xml: line 2, column ");
        };
        QVERIFY(isRefused(IInstallMgr::installFromLocation(m_root + "/site/repository.xml", true)));
        QVERIFY(isRefused(IInstallMgr::installBootstrap()));
        QVERIFY(isRefused(IInstallMgr::installPackage(single)));
        QVERIFY(!IInstallMgr::uninstallPlugins());
        QVERIFY(treeOf(m_root) == before);
        QCOMPARE(Corvane::currentVersion(), QString("1.00.000"));
        QVERIFY(QFile::remove(file)); // so that it can be cleaned up
        QVERIFY(QFile::rename(m_root + "/kept", file));
    }
    void aPackageJoinsTheDevelopmentFeature()
    {
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
        for (const char* none : {"/D-1.0.zip", "/core"}) {
            QVERIFY(!IInstallMgr::installPackage(m_root + none));
            QVERIFY(told(IInstallMgr::lastOutcome()).endsWith(QString(none) + " is not installed: it is no file"));
        }
        QVERIFY(IInstallMgr::installPackage(package("A", "0.9")));
        QCOMPARE(installed(), QString("Core 1.00.000: A-1.00.000; VelmDev 0.00.001: A-0.09.000"));
        // Those of other names stay, and what is there already is not asked for again.
        QVERIFY(IInstallMgr::installPackage(package("B-x", "1.0")));
        QVERIFY(QFile::remove(m_root + "/A-0.09.000.zip"));
        QVERIFY(IInstallMgr::installPackage(package("B-x", "2.0")));
        QCOMPARE(IInstallMgr::lastOutcome().installed, QStringList("B-x-2.00.000"));
        QCOMPARE(IInstallMgr::lastOutcome().removed, QStringList("B-x-1.00.000"));
        QCOMPARE(installed(), QString("Core 1.00.000: A-1.00.000; VelmDev 0.00.003: A-0.09.000 B-x-2.00.000"));
        QCOMPARE(Corvane::currentVersion(), QString("1.00.000"));
        QVERIFY(QFile::exists(m_root + "/B-x-2.00.000.zip"));
        QVERIFY(!QFile::exists(m_root + "/core/plugins/B-x-1.00.000"));

        // Only the file that was named counts, and it has the version in any form.
        QVERIFY(QFile::rename(package("C", "1.0"), m_root + "/C-1.0.ZIP"));
        writeFile(m_root + "/C-1.00.000.zip", "no archive");
        QVERIFY(IInstallMgr::installPackage(QDir().relativeFilePath(m_root + "/C-1.0.ZIP")));
        QCOMPARE(IInstallMgr::lastOutcome().installed, QStringList("C-1.00.000"));
    }
    void takesAPackageOfTheSameVersion_data()
    {
        const Rows<QString, QString, bool, QString, QString> row("installed", "package", "isChanged", "said",
                                                                 "journal");
        row("the same", "build=1", "build=1", false, "A-1.00.000 is installed already, with the same contents", "");
        row("another", "build=1", "build=2", true, "", "uninstall A 1.00.000, install A 1.00.000");
        row("changed on the disk", "changed", "", true, "", "uninstall A 1.00.000, install A 1.00.000");
        row("damaged", "", "damaged", false, "VelmDev 0.00.001: its package ", "");
        row("not starting", "", "service=S", false,
            "VelmDev 0.00.001: the suite would not start: the service \"S\" is declared twice: by plugin \"B\" and by",
            "");
        row("another Qt", "", QString("qt=%1").arg(11 - QT_VERSION_MAJOR), false,
            "VelmDev 0.00.001: A-1.00.000 would not be loaded: its library ", "");
        row("of another feature", "Core", "build=2", false,
            "VelmDev 0.00.001: A-1.00.000 is installed already and this package differs from it: ", "");
        row("the same of another feature", "Core", "", false, "", "");
        row("the same, changed by its command lines", "Core changed", "", false, "", "");
        row("in a repository", "", "repository", false,
            "Core 2.00.000: A-1.00.000 is installed already and this package differs from it: ", "");
    }
    void takesAPackageOfTheSameVersion()
    {
        const auto [installed, offered, isChanged, said, journal] =
            cells<QString, QString, bool, QString, QString>("installed", "package", "isChanged", "said", "journal");
        const QString folder = m_root + "/core/plugins/A-1.00.000";
        const bool isOthers = installed.startsWith("Core");
        const QByteArray journalFile = qgetenv("JOURNAL");
        qputenv("JOURNAL", installed == "Core changed" ? "doc/read.me" : journalFile);
        QVERIFY(install({"main 1.0", isOthers ? "Core 1.0: A 1.0, B 1.0 !service=S" : "Core 1.0: B 1.0 !service=S"}));
        qputenv("JOURNAL", journalFile);
        if (!isOthers)
            QVERIFY(IInstallMgr::installPackage(package("A", "1.0", installed.startsWith("build") ? installed : "")));
        writeFile(folder + "/settings.ini", "of somebody");
        if (installed == "changed")
            writeFile(folder + "/doc/read.me", "changed");
        QFile::remove(m_root + "/journal");
        if (offered == "repository")
            install({"main 2.0", "Core 2.0: A 1.0 !build=2, B 1.0 !service=S"});
        else
            IInstallMgr::installPackage(package("A", "1.0", offered));
        const cInstallOutcome outcome = IInstallMgr::lastOutcome();
        QVERIFY2(told(outcome).contains(said), qPrintable(told(outcome)));
        QVERIFY2(told(outcome).isEmpty() == said.isEmpty(), qPrintable(told(outcome)));
        QCOMPARE(outcome.isSuccess(), said.isEmpty() || outcome.result == cInstallOutcome::NothingToDo);
        QCOMPARE(outcome.installed, isChanged ? QStringList("A-1.00.000") : QStringList());
        QCOMPARE(outcome.removed, outcome.installed);
        QCOMPARE(!QFile::exists(folder + "/settings.ini"), isChanged);
        QCOMPARE(QString(readFile(m_root + "/journal").trimmed()).replace("\n", ", "), journal);
        QVERIFY(QDir(folder + "/..").entryList({"unfinished*"}).isEmpty());
        QCOMPARE(IInstallMgr::verify().result, cVerifyOutcome::Sound);
    }

private:
    bool install(const QStringList& offered, bool isConsumed = false)
    {
        makeRepository(m_root + "/site", offered);
        return IInstallMgr::installFromLocation(m_root + "/site/repository.xml", isConsumed);
    }
    /// Makes a package and gives its path.
    QString package(const QString& name, const QString& version, const QString& fault = QString())
    {
        const QString path = QString("%1/%2-%3.zip").arg(m_root, name, cVersion(version).toString());
        makePackage(path, name, version, fault);
        return path;
    }
    static QString installed()
    {
        QStringList features;
        for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
            features << feature.name + " " + feature.version.toString() + ": " + feature.plugins.join(' ');
        return features.join("; ");
    }

    SettingsSandbox m_sandbox;
    QString m_root;
};

QTEST_GUILESS_MAIN(tst_IInstallMgr)
#include "tst_IInstallMgr.moc"
