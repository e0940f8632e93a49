#include "InstallFixture.h"
#include "Outcome.h"

#include <Norvale/cLogCentral.h>
#include <NotHere.h>
#include <Platform.h>
#include <Rows.h>

/// Installing and uninstalling, with command lines that write a journal. Cases are told in the words of that program:
/// 'Core 1.0: A 1.0, B 1.2 !fault; Needed'.
class tst_cInstallMgr : public QObject, private InstallFixture
{
    Q_OBJECT

public slots:
    void onStart(IInstallMgr::OPERATION operation, QString name, QString version)
    {
        const char* const names[] = {"start", "location", "extract", "install", "uninstall", "remove", "verify"};
        m_signals << QString(names[operation]) + (name.isEmpty() ? "" : " " + name + " " + version);
    }
    void onProgress(int current, int total) { m_signals << QString("%1/%2").arg(current).arg(total); }
    void onFinished()
    {
        m_signals << ".";
        if (m_isImpatient) {
            QVERIFY(!m_manager->installDropbox());
            QVERIFY(!m_manager->uninstallPlugins());
        }
    }

private slots:
    void init()
    {
        begin(QString(QTest::currentTestFunction()) + QTest::currentDataTag());
        qputenv("JOURNAL", QFile::encodeName(m_root + "/journal"));
        m_manager->connectSlots(this, SLOT(onStart(IInstallMgr::OPERATION, QString, QString)),
                                SLOT(onProgress(int, int)), SLOT(onFinished()));
        m_signals.clear();
        cLogCentral::setDebuggerOutput(true);
        m_logged = cLogCentral::history().size();
    }
    void installs_data()
    {
        const Rows<QStringList, QStringList, QString, QString, QString, QString> row("before", "offered", "features",
                                                                                     "commands", "left", "logged");
        const QStringList one{"main 1.0", "Core 1.0: A 1.0, B 1.0"};
        const QString first = "1.00.000 Core 1.0: A 1.0, B 1.0", done = "";
        row("newer", one, {"main 1.1", "Core 1.1: A 1.1, B 1.0"}, "1.01.000 Core 1.1: A 1.1, B 1.0",
            "uninstall A 1.0, install A 1.1", done, "");
        row("older", one, {"main 0.9", "Core 0.9: A 0.9"}, first, "", done, "");
        row("older from another repository", one, {"side 0.9", "Core 0.9: A 0.9"}, "0.09.000 Core 0.9: A 0.9",
            "uninstall A 1.0, uninstall B 1.0, install A 0.9", done, "");
        row("another feature", one, {"main 1.0", "More 1.0: C 1.0, A 1.0 !missing"}, first + "; More 1.0: C 1.0, A 1.0",
            "install C 1.0", done, "");
        row("shared plugin stays", {"main 1.0", "Core 1.0: A 1.0", "More 1.0: A 1.0"}, {"main 2.0", "Core 2.0: B 1.0"},
            "2.00.000 Core 2.0: B 1.0; More 1.0: A 1.0", "install B 1.0", done, "");
        row("only the version", one, {"main 3.0", "Core 1.0: A 1.0"}, "3.00.000 Core 1.0: A 1.0, B 1.0", "", done, "");
        row("source elsewhere", {}, {"main 1.0", "Core 1.0: A 1.0 !elsewhere"}, "1.00.000 Core 1.0: A 1.0",
            "install A 1.0", "pool/A.bin", "");
        row("failing command line", {}, {"main 1.0", "Core 1.0: A 1.0 !failing-command, B 1.0"}, first, "install B 1.0",
            done, " ended with exit code 1");
        row("program that is not there", {}, {"main 1.0", "Core 1.0: A 1.0 !no-such-program, B 1.0"}, first,
            "install B 1.0", done, "none cannot be started");
        row("core too old", one, {"main 2.0 1.1", "Core 2.0: A 2.0"}, first, "", "A-2.00.000.zip, repository.xml",
            "repository.xml is not installed: it needs the core version 1.01.000; this is 1.00.000");
        row("core just new enough", one, {"main 2.0 1.0", "Core 2.0: A 2.0"}, "2.00.000 Core 2.0: A 2.0",
            "uninstall A 1.0, uninstall B 1.0, install A 2.0", done, "");

        row("defective package", one, {"main 2.0", "Core 2.0: B 2.0, A 2.0 !damaged", "More 2.0: C 1.0"},
            first + "; More 2.0: C 1.0", "install C 1.0", "B-2.00.000.zip", "doc/read.me: the deflated data are");
        row("wrong hash", one, {"main 2.0", "Core 2.0: A 2.0 !hash"}, first, "", done, "its SHA-1 is ");
        row("package missing", one, {"main 2.0", "Core 2.0: A 2.0 !missing, B 2.0", "More 1.0: C 1.0"},
            first + "; More 1.0: C 1.0", "install C 1.0", "B-2.00.000.zip", "its package A-2.00.000.zip is not there");
        row("unsafe plugin name", one, {"main 2.0", "Core 2.0: ../plugins/A 1.0 !missing"}, first, "", done,
            "cannot name a folder");
        row("folder of another plugin, where case makes no difference", one, {"main 2.0", "Core 2.0: a 1.0"}, first, "",
            "a-1.00.000.zip", "a-1.00.000 would have the folder of A-1.00.000");
        row("would clash with what stays", {"main 1.0", "Core 1.0: A 1.0", "More 1.0: A 1.0, C 1.0"},
            {"main 2.0", "Core 2.0: A 2.0", "More 2.0: A 2.0, C 2.0 !bad-xml"},
            "1.00.000 Core 1.0: A 1.0; More 1.0: A 1.0, C 1.0", "", "A-2.00.000.zip",
            "it has the plugin A-2.00.000, which another feature has in version 1.00.000");
        row("depends on what is left out", {}, {"main 1.0", "Top 1.0: A 1.0; Base", "Base 1.0: B 1.0 !no-manifest"}, "",
            "", "A-1.00.000.zip", "it depends on the feature \"Base\", which is left out");
        row("depends on a new version that is left out", one,
            {"main 2.0", "Core 2.0: A 2.0 !damaged", "More 2.0: C 2.0; Core"}, first, "", "C-2.00.000.zip",
            "it depends on the feature \"Core\", which is left out");
        row("depends on what nobody has", one, {"main 2.0", "More 2.0: C 2.0; Base"}, first, "", "C-2.00.000.zip",
            "it depends on the feature \"Base\", which is neither offered nor installed");
        row("core left out", {}, {"main 1.0", "Core 1.0: A 1.0 !damaged", "More 1.0: C 1.0"}, "", "", "C-1.00.000.zip",
            "nothing starts without the feature \"Core\"");
        row("plugin in two versions", {}, {"main 1.0", "Core 1.0: A 1.0, A 2.0"}, "", "",
            "A-1.00.000.zip, A-2.00.000.zip", "in two versions");
        row("hash that is none", one, {"main 2.0", "Core 2.0: A 2.0 !no-hash"}, first, "", "A-2.00.000.zip",
            "its hash \"?\" is no SHA-1 hash");
        row("another repository in part", one, {"side 0.9", "Core 0.9: A 0.9", "More 0.9: C 1.0 !missing"},
            "1.00.000 Core 0.9: A 0.9", "uninstall A 1.0, uninstall B 1.0, install A 0.9", done, "C-1.00.000.zip");

        // What no start would take.
        row("another runtime", one, {"main 2.0", "Core 2.0: A 2.0 !api"}, first, "", done,
            "A-2.00.000 is made for the runtime API version 12; this is version 13");
        row("faulty params", one, {"main 2.0", "Core 2.0: A 2.0 !params"}, first, "", done, "is no JSON document");
        const QString mine = QString::number(QT_VERSION_MAJOR), other = QString::number(11 - QT_VERSION_MAJOR);
        const QString built = " is built with Qt %1; this suite runs on Qt %2, for which it has to be built anew";
        row("another Qt", one,
            {"main 2.0", "Core 2.0: B 2.0 !qt=" + mine + ", A 2.0 !qt=" + other, "More 2.0: C 1.0 !qt=" + mine},
            first + "; More 2.0: C 1.0", "install C 1.0", "A-2.00.000.zip, B-2.00.000.zip",
            Platform::library("plugins/A-2.00.000/it") + built.arg(other, mine));
        row("service of two", {"main 1.0", "Core 1.0: A 1.0 !service=S"},
            {"main 2.0", "Core 1.0: A 1.0", "More 1.0: C 1.0 !service=S", "Third 1.0: D 1.0 !needs=A"},
            "1.00.000 Core 1.0: A 1.0; Third 1.0: D 1.0", "install D 1.0", "C-1.00.000.zip",
            "the service \"S\" is declared twice: by plugin \"A\" and by plugin \"C\"");
        row("needs what is not there", one, {"main 2.0", "More 1.0: C 1.0 !needs=Z", "Third 1.0: D 1.0 !needs=C"},
            first, "", "C-1.00.000.zip, D-1.00.000.zip", "plugin \"C\" depends on \"Z\", which is not installed");
        row("needs what is taken away", {"main 1.0", "Core 1.0: A 1.0, B 1.0", "More 1.0: C 1.0 !needs=B"},
            {"main 2.0", "Core 2.0: A 2.0"}, "1.00.000 Core 1.0: A 1.0, B 1.0; More 1.0: C 1.0", "", "A-2.00.000.zip",
            "plugin \"C\" depends on \"B\", which is not installed");
        row("circle", one, {"main 2.0", "Core 2.0: A 2.0 !needs=C", "More 1.0: C 1.0 !needs=A", "Third 1.0: D 1.0"},
            first + "; Third 1.0: D 1.0", "install D 1.0", "A-2.00.000.zip, C-1.00.000.zip", "in a circle: ");
    }
    void installs()
    {
        const auto [before, offered] = cells<QStringList, QStringList>("before", "offered");
        const auto [features, logged] = cells<QString, QString>("features", "logged");
        if (!before.isEmpty()) {
            QVERIFY(install(before));
            QVERIFY(m_manager->installDropbox());
            QCOMPARE(leftInDropbox(), QString());
        }
        QFile::remove(m_root + "/journal");
        const QString repository = repositoryName();
        const QSet<QString> had = plugins();
        const bool isComplete = install(offered);
        const cInstallOutcome outcome = m_manager->lastOutcome();
        QVERIFY(outcome.leftOut.isEmpty() || repositoryName() == repository);
        QCOMPARE(QSet<QString>(outcome.installed.begin(), outcome.installed.end()), plugins() - had);
        QCOMPARE(QSet<QString>(outcome.removed.begin(), outcome.removed.end()), had - plugins());
        QVERIFY2(told(outcome).contains(logged), qPrintable(told(outcome)));
        QCOMPARE(outcome.isSuccess(), isComplete);
        QCOMPARE(outcome.result, logged.contains("core version") ? cInstallOutcome::CoreTooOld
                                 : !isComplete                   ? cInstallOutcome::Incomplete
                                 : outcome.installed.isEmpty()   ? cInstallOutcome::NothingToDo
                                                                 : cInstallOutcome::Complete);
        QCOMPARE(installed(), features);
        QTEST(commands(), "commands");
        QTEST(leftInDropbox(), "left");
        QVERIFY2(said(logged), qPrintable(log().join('\n')));
        QVERIFY(isComplete == (logged.isEmpty() || logged.contains("ended") || logged.contains("started")));
        QCOMPARE(m_signals.count(".") + m_signals.count("location"), startsOf(m_signals));
        QVERIFY(isWhole());
        // Only what is worth it is tried again.
        m_signals.clear();
        QVERIFY(m_manager->installDropbox() == !QFile::exists(dropbox()));
        QCOMPARE(installed(), features);
    }
    void leavesToOthersWhatIsTheirs()
    {
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
        const QString folder = m_root + "/core/plugins/C-1.00.000", box = QFileInfo(dropbox()).path();
        writeFile(folder + "/work", "mine");
        for (const char* name : {"/mine.zip", "/A-0.01.000.zip", "/A-1.00.000.zip"})
            writeFile(box + name, "mine");
        QVERIFY(!install({"main 2.0", "Core 2.0: A 2.0", "More 2.0: C 1.0, D 1.0"}));
        QVERIFY(said(folder + " is there, which no feature has had"));
        QVERIFY(m_manager->installDropbox());
        QCOMPARE(leftInDropbox(), QString("A-0.01.000.zip, A-1.00.000.zip, C-1.00.000.zip, D-1.00.000.zip, mine.zip"));
        // The next update takes along what this one has left.
        QVERIFY(install({"main 3.0", "Core 3.0: A 3.0"}));
        QCOMPARE(leftInDropbox(), QString("A-0.01.000.zip, A-1.00.000.zip, mine.zip"));
        QVERIFY(QDir(box).entryList(QDir::Hidden | QDir::Files).filter(QRegularExpression("^\\.")).isEmpty());
        QVERIFY(m_manager->uninstallPlugins());
        QCOMPARE(readFile(folder + "/work"), QByteArray("mine"));

        // What was installed before the list of it was lost is the suite's own.
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
        QVERIFY(QFile::remove(m_root + "/core/plugins/features.xml"));
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
    }
    /// Also to receivers that throw, which stops nothing.
    void announcesEveryStep()
    {
        connect(m_manager.get(), &cInstallMgr::installationStart, [] { throw 42; });
        connect(m_manager.get(), &cInstallMgr::installationProgress, [] { throw 42; });
        connect(m_manager.get(), &cInstallMgr::installationFinished, [] { throw 42; });
        QVERIFY(install({"main 1.0", "Core 1.0: Old 1.0"}));
        m_signals.clear();
        offer({"main 2.0", "Core 2.0: A 2.0, B 2.0 !silent"});
        m_isImpatient = true; // what a slot asks for meanwhile is refused
        QVERIFY(m_manager->installDropbox());
        m_isImpatient = false;
        QCOMPARE(m_manager->lastOutcome().result, cInstallOutcome::Complete);
        QVERIFY(m_manager->installDropbox());
        QCOMPARE(
            m_signals.join(", "),
            QString("start, location, extract A 2.00.000, ., extract B 2.00.000, ., uninstall Old 1.00.000, ., 2/6, "
                    "install A 2.00.000, ., 3/6, 4/6, remove Old 1.00.000, ., ., start, ."));
        m_signals.clear();
        QVERIFY(!m_manager->installFromLocation(m_root + "/none.xml", false));
        QCOMPARE(m_manager->lastOutcome().result, cInstallOutcome::NoDescription);
        QVERIFY(said("none.xml is not installed"));
        QVERIFY(!log().filter("A receiver of the signals of an installation threw an exception").isEmpty());
        offer({"main 3.0"});
        QFile::resize(dropbox(), 20);
        QVERIFY(!m_manager->installDropbox());
        QVERIFY(said("repository.xml is not installed: line 1"));
        QCOMPARE(m_manager->lastOutcome().result, cInstallOutcome::NoDescription);
        QCOMPARE(m_signals.join(", "), QString("start, ., start, location, ."));
        m_manager->connectSlots(this, nullptr, SLOT(none()), SLOT(onFinished()));
        QCOMPARE(log().filter("is not connected").size(), 2);
    }
    void unpacksAsThePackageSays()
    {
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0"}));
        const QDir folder(m_root + "/core/plugins/A-1.00.000");
        QCOMPARE(readFile(folder.filePath("doc/read.me")), QByteArray("A 1.0\n").repeated(9));
        const QString library = folder.filePath(Platform::library("it"));
        QCOMPARE(readFile(library), QByteArray("library of A 1.0").repeated(40));
        QCOMPARE(QFileInfo(library).isExecutable(), Platform::hasUnixFiles());
        QVERIFY(!QFileInfo(folder.filePath("doc/read.me")).isExecutable());
        QVERIFY(!folder.exists("empty"));
    }
    void installsTheBootstrapAgainAndAgain()
    {
        QVERIFY(!m_manager->installBootstrap());
        QVERIFY(said("Bootstrap/repository.xml is not installed: it does not exist"));
        makeRepository(m_root + "/core/Bootstrap", {"main 1.0", "Core 1.0: A 1.0"});
        QVERIFY(m_manager->installBootstrap());
        QVERIFY(m_manager->installBootstrap());
        QCOMPARE(m_configuration->available().name(), QString("main"));
        QCOMPARE(QDir(m_root + "/core/Bootstrap").entryList(QDir::Files).join(' '),
                 QString("A-1.00.000.zip repository.xml"));
        QVERIFY(install({"main 2.0", "Core 2.0: A 2.0"}));
        QVERIFY(m_manager->installBootstrap());
        QCOMPARE(installed(), QString("2.00.000 Core 2.0: A 2.0"));
        // What has been lost comes back with the next version.
        QTRY_VERIFY(QDir(m_root + "/core/plugins/A-2.00.000").removeRecursively()); // a command may have just left it
        QVERIFY(install({"main 2.1", "Core 2.1: A 2.0"}));
        QVERIFY(isWhole());
    }
    void uninstallsOnlyWhatItInstalled()
    {
        QVERIFY2(m_manager->uninstallPlugins(), "nothing is installed");
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0, B 1.0"}));
        const QString plugins = m_root + "/core/plugins";
        QTRY_VERIFY(QDir(plugins + "/B-1.00.000").removeRecursively());
        const QString deep = "/A-1.00.000" + QString("/a folder that is deep").repeated(12);
        for (const QString& folder : {deep, QString("/B-1.00.000"), QString("/Mine-1.00.000")})
            QVERIFY(QDir().mkpath(plugins + folder));
        QFile::setPermissions(plugins + deep, QFile::ReadOwner);
        m_signals.clear();
        QVERIFY(m_manager->uninstallPlugins());
        QCOMPARE(m_signals.join(", "), QString("uninstall A 1.00.000, ., remove A 1.00.000, ., remove B 1.00.000, ."));
        QVERIFY(said("B-1.00.000 are not run"));
        QCOMPARE(QDir(plugins).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(' '), QString("Mine-1.00.000"));
        QCOMPARE(installed(), QString());
        QVERIFY(!QSettings(QSettings::SystemScope, "Varkel", "Pelmora").contains("ConfigMgr/RepositoryName"));
        QVERIFY(QDir().rmdir(plugins + "/Mine-1.00.000"));
        QVERIFY(m_manager->uninstallPlugins());
        QVERIFY(!QFile::exists(m_root + "/core"));
    }
    void removesWhatIsInUseAtALaterStart()
    {
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0, B 1.0"}));
        QFile used(m_root + "/core/plugins/A-1.00.000/" + Platform::library("it"));
        QVERIFY(used.open(QFile::ReadOnly));
        QVERIFY(install({"main 2.0", "Core 2.0: A 2.0"}));
        QCOMPARE(installed(), QString("2.00.000 Core 2.0: A 2.0"));
        if (!Platform::hasUnixFiles()) {
            QVERIFY(said("A-1.00.000 is not removed whole"));
            QVERIFY(!isWhole());
        }
        used.close();
        QVERIFY(m_manager->installDropbox());
        QVERIFY(isWhole());
    }
    void removesLinksNotWhatTheyLeadTo()
    {
        SKIP_WHERE_LISTED();
        QVERIFY(install({"main 1.0", "Core 1.0: A 1.0, B 1.0"}));
        const QString plugins = m_root + "/core/plugins", outside = m_root + "/outside";
        QVERIFY(QDir().mkpath(plugins + "/A-1.00.000/sub"));
        writeFile(outside + "/kept", "kept");
        QTRY_VERIFY(QDir(plugins + "/B-1.00.000").removeRecursively());
        QVERIFY(Platform::link(outside, plugins + "/A-1.00.000/sub/link"));
        QVERIFY(Platform::link(m_root + "/none", plugins + "/A-1.00.000/gone"));
        QVERIFY(Platform::link(outside, plugins + "/B-1.00.000"));
        QVERIFY(m_manager->uninstallPlugins());
        QVERIFY(QFile::exists(outside + "/kept"));
        QVERIFY(!QFile::exists(m_root + "/core"));
    }

private:
    QString dropbox() const { return Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile); }
    void offer(const QStringList& words) { makeRepository(QFileInfo(dropbox()).absolutePath(), words); }
    bool install(const QStringList& words)
    {
        offer(words);
        return m_manager->installDropbox();
    }
    /// The stored version, and features with their plugins as in the words of the rows; empty when there are none.
    QString installed() const
    {
        QStringList features;
        for (const cFeatureInfo& feature : m_configuration->installedFeatures())
            features << feature.name + " " + feature.version.toString() + ": " + feature.plugins.join(", ");
        return features.isEmpty() ? QString() : Corvane::currentVersion() + " " + brief(features.join("; "));
    }
    QSet<QString> plugins() const
    {
        QSet<QString> plugins;
        for (const cFeatureInfo& feature : m_configuration->installedFeatures())
            plugins += QSet<QString>(feature.plugins.begin(), feature.plugins.end());
        return plugins;
    }
    /// With versions such as 1.0 behind a blank.
    static QString brief(QString text) { return text.replace(".000", "").replace(".0", ".").replace('-', ' '); }
    /// What the command lines wrote: "install A 1.0".
    QString commands() const { return brief(readFile(m_root + "/journal")).trimmed().replace('\n', ", "); }
    QString leftInDropbox() const
    {
        QStringList left;
        QDirIterator files(QFileInfo(dropbox()).absolutePath(), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            left << files.next().section("/Dropbox/", 1);
        left.sort();
        return left.join(", ");
    }
    /// What lies in the plugins folder is what is installed, and nothing else.
    bool isWhole() const
    {
        return m_manager->verify().findings.isEmpty() && !QFile::exists(m_root + "/core/plugins/unfinished.txt");
    }
    static QString repositoryName()
    {
        return QSettings(QSettings::SystemScope, "Varkel", "Pelmora").value("ConfigMgr/RepositoryName").toString();
    }
    static int startsOf(const QStringList& names) { return names.size() - names.filter("/").size() - names.count("."); }
    QStringList log() const
    {
        QStringList lines;
        for (const cLogEntry& entry : cLogCentral::history().mid(m_logged)) {
            if (entry.channel == "InstallMgr" && entry.level != debugInfo)
                lines << entry.message;
        }
        return lines;
    }
    /// Exactly one line says @p part; nothing is said when that is empty.
    bool said(const QString& part) const { return part.isEmpty() ? log().isEmpty() : log().filter(part).size() == 1; }
    QStringList m_signals;
    bool m_isImpatient = false;
    int m_logged = 0;
};

QTEST_GUILESS_MAIN(tst_cInstallMgr)
#include "tst_cInstallMgr.moc"
