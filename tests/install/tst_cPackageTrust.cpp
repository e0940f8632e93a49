#include "Packages.h"

#include <Files.h>
#include <HttpSite.h>
#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IInstallMgr.h>
#include <Norvale/cLogCentral.h>
#include <Rows.h>
#include <SettingsSandbox.h>

/// What is installed with a pinned root, from wherever it lies. The site is signed by other means than our own
/// (tuf_site.py), the packages are made by tests/support/packages.py.
class tst_cPackageTrust : public QObject
{
    Q_OBJECT

    SettingsSandbox m_sandbox;
    HttpSite m_site;
    QString m_core = m_sandbox.path() + "/core";

    void forge(const QString& steps) { QCOMPARE(m_site.forge(steps), QString()); }

    /// The folder that a kind of install takes its description from.
    QString folderOf(const QString& how) const
    {
        if (how == "dropbox")
            return Corvane::velmiraFolderOrFile(Corvane::DropboxFolder);
        return how == "bootstrap" ? m_core + "/Bootstrap" : m_sandbox.path() + "/medium/main";
    }

    void install(const QString& how)
    {
        const bool isPackage = how.contains("package") || how == "replace";
        const QString path = folderOf(how) + (isPackage ? "/A-2.00.000.zip" : "/repository.xml");
        if (how == "dropbox")
            IInstallMgr::installDropbox();
        else if (how == "bootstrap")
            IInstallMgr::installBootstrap();
        else if (how.startsWith("unsigned"))
            IInstallMgr::installUnsigned(path);
        else if (isPackage)
            IInstallMgr::installPackage(path);
        else
            IInstallMgr::installFromLocation(path, false);
    }

    /// An installation of A 1.0 that has pinned the root of an honest site, and asked it once.
    void begin(const QString& steps, bool isReplaced)
    {
        QVERIFY(IConfigMgr::unpinTrust(nullptr));
        QVERIFY(IInstallMgr::uninstallPlugins());
        for (const QString& folder : {m_core, m_sandbox.path() + "/medium", m_site.folder(), folderOf("dropbox")})
            QDir(folder).removeRecursively();
        const QString before = m_site.folder() + "/before";
        makeRepository(before, {"main 1.0", "Core 1.0: A 1.0 !silent"});
        QVERIFY(IInstallMgr::installFromLocation(before + "/repository.xml", false));
        makeRepository(before, {"main 1.0", "Core 1.0: A 2.0 !silent !build=1"});
        QVERIFY(!isReplaced || IInstallMgr::installPackage(before + "/A-2.00.000.zip"));
        makeRepository(m_site.folder(), {"main 2.0", "Core 2.0: A 2.0 !silent"});
        forge("new(); package = open(site.folder + '/A-2.00.000.zip', 'rb').read()");
        forge(steps + "save('/tuf/1.root.json')");
        QString error;
        QVERIFY2(IConfigMgr::pinTrust(readFile(m_site.folder() + "/../1.root.json"), &error), qPrintable(error));
        QVERIFY(IConfigMgr::setUpdateLocations({m_site.url()}));
        IConfigMgr::checkForUpdates(); // the site has nothing but its metadata
    }

private slots:
    void initTestCase()
    {
        m_sandbox.setInstallDir(m_core);
        m_sandbox.useDataBelow(m_sandbox.path() + "/data");
        QVERIFY(Corvane::initialize());
        cLogCentral::setDebuggerOutput(true);
    }

    void installsWhatIsVouchedFor_data()
    {
        // What the publisher does before a check, and after it; where, from the description, the medium has the
        // metadata that it brings along; what is installed; why it is not.
        const Rows<QString, QString, QString, QString, QString> row("before", "after", "metadata", "how", "refused");
        const QString known = "target('p/A-2.00.000.zip', package); release(); ";
        const QString notNamed = "no trusted metadata names it";
        for (const char* how : {"dropbox", "location", "bootstrap", "package", "replace"}) {
            row(qPrintable(QString("%1, known").arg(how)), known, "", "", how, "");
            row(qPrintable(QString("%1, unknown").arg(how)), "", "", "", how, notNamed);
        }
        row("another one of the name", "target('A-2.00.000.zip', b'x'); release(); ", "", "", "location",
            "bytes instead of 1");
        row("metadata beside the description", "", known, "/tuf/", "location", "");
        row("metadata of the site", "", known, "/../tuf/", "location", "");
        row("metadata beside a package", "", known, "/tuf/", "package", "");
        row("metadata in Bootstrap", "", known, "/tuf/", "bootstrap", "");
        const QString tuf = "tuf: timestamp.json is refused: ";
        row("expired metadata", "", known + "timestamp.expires = PAST; publish()", "/../tuf/", "location",
            tuf + "expired on");
        row("older metadata", "publish(); ", "timestamp.version = 2; put(timestamp)", "/../tuf/", "location",
            tuf + "version 2 is older than what was seen, 3");
        row("a stranger's metadata", "", known + "timestamp.by = [key('x')]; publish()", "/../tuf/", "location",
            tuf + "signed by 0 of 1 key");
        row("unsigned, as asked for", "", "", "", "unsigned", "");
        row("unsigned package, as asked for", "", "", "", "unsigned package", "");
    }
    void installsWhatIsVouchedFor()
    {
        const auto [before, after, metadata] = cells<QString, QString, QString>("before", "after", "metadata");
        const auto [how, refused] = cells<QString, QString>("how", "refused");
        begin(before, how == "replace");
        forge(after.isEmpty() ? "pass" : after);
        makeRepository(folderOf(how), {"main 2.0", "Core 2.0: A 2.0 !silent"});
        forge("store()");
        for (const QFileInfo& file : QDir(m_site.folder() + "/../tuf").entryInfoList(QDir::Files)) {
            if (!metadata.isEmpty())
                writeFile(folderOf(how) + metadata + file.fileName(), readFile(file.filePath()));
        }
        const int logged = cLogCentral::history().size();
        install(how);
        const cInstallOutcome outcome = IInstallMgr::lastOutcome();
        const QString said = outcome.leftOut.isEmpty() ? outcome.reason : outcome.leftOut.first().reason;
        QVERIFY2(said.contains(refused), qPrintable(said));
        QCOMPARE(outcome.installed, refused.isEmpty() ? QStringList{"A-2.00.000"} : QStringList());
        QCOMPARE(QFile::exists(m_core + "/plugins/A-1.00.000"),
                 !refused.isEmpty() || how.contains("package") || how == "replace");
        bool isTold = false;
        for (const cLogEntry& entry : cLogCentral::history().mid(logged))
            isTold = isTold || entry.message.contains("is installed without regard to the pinned root");
        QCOMPARE(isTold, how.startsWith("unsigned"));
    }

    void repairsWhatIsVouchedFor()
    {
        begin("", false);
        makeRepository(folderOf("bootstrap"), {"main 1.0", "Core 1.0: A 1.0 !silent"});
        QVERIFY(QFile::remove(m_core + "/plugins/A-1.00.000/Manifest.xml"));
        const QString reason = IInstallMgr::repair().unrepaired.value(0).reason;
        QVERIFY2(reason.contains("A-1.00.000.zip is refused: no trusted metadata names it"), qPrintable(reason));
        forge("target('p/A-1.00.000.zip', open(site.folder + '/before/A-1.00.000.zip', 'rb').read()); release()");
        IConfigMgr::checkForUpdates();
        QCOMPARE(IInstallMgr::repair().repaired, QStringList("A-1.00.000"));
    }
};

QTEST_GUILESS_MAIN(tst_cPackageTrust)
#include "tst_cPackageTrust.moc"
