#include "HostFixture.h"
#include "HttpSite.h"
#include "MachineProgram.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QLockFile>
#include <QtCore/QRandomGenerator>

namespace {

const QString Site =
    "<site><repository config='release' status='release' platform='x64' update='main' content='.'/></site>";

QByteArray manifest(const QString& name, const QString& version)
{
    return QString("<m><plugin name='%1' version='%2' runtime_api_version='13'/></m>").arg(name, version).toUtf8();
}

/// A package whose @p size bytes beside the manifest no compression makes fewer.
QByteArray package(const QTemporaryDir& folder, const QString& name, const QString& version, int size)
{
    QByteArray noise;
    QRandomGenerator generator(1);
    while (noise.size() < size)
        noise += char(generator.generate());
    writeFile(folder.filePath("Manifest.xml"), manifest(name, version));
    writeFile(folder.filePath("fill"), noise);
    const QString zip = folder.filePath(name + ".zip");
    MachineProgram::execute("python3", {"-m", "zipfile", "-c", zip, "Manifest.xml", "fill"}, folder.path());
    return readFile(zip);
}

QString pluginElement(const QString& name, const QString& version, const QByteArray& package,
                      const QString& source = "%1-%2.zip")
{
    const QByteArray hash = QCryptographicHash::hash(package, QCryptographicHash::Sha1).toHex();
    return QString("<plugin name='%1' version='%2' size='%3'><source>" + source +
                   "</source><hash method='sha1'>%4</hash></plugin>")
        .arg(name, version, QString::number(package.size()), QString::fromLatin1(hash));
}

QString feature(const QString& name, const QString& version, const QString& plugins)
{
    return QString("<feature name='%1' version='%2'><plugins>%3</plugins></feature>").arg(name, version, plugins);
}

} // namespace

/// The commands that check, fetch and install, as a person and a script meet them: version 1.0.0 of the feature "Core"
/// with the plugin A is installed, and an update site has whatever the test puts there.
class tst_VCoreUpdate : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;
    HttpSite m_site;
    QTemporaryDir m_work;
    QString m_suite;

    QString inSuite(const QString& path) const { return m_suite + '/' + path; }
    static QString dropbox()
    {
        return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Varkel/VCore/Dropbox";
    }

    /// Puts a repository description onto the site.
    void publish(const QString& version, const QString& content)
    {
        const QString xml = QString("<repository name='main' version='%1'>%2</repository>").arg(version, content);
        QVERIFY(m_site.write("repository.xml", xml.toUtf8()));
    }

    /// An update of Core whose package is fetched as @p source; QString as the rows take it.
    QString update(const QString& source = "%1-%2.zip") const
    {
        return feature("Core", "2.0.0",
                       pluginElement("A", "2.00.000", readFile(m_site.folder() + "/A-2.00.000.zip"), source));
    }

    /// Starts the host, which lists the plugin A in @p version, and ends it.
    void servesA(const QString& version)
    {
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains(QRegularExpression("\nA +" + version)));
        QCOMPARE(m_fixture.quit(), 0);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.isRunning());
        QVERIFY(m_site.write("site.xml", Site.toUtf8()));
        QVERIFY(m_site.write("A-2.00.000.zip", package(m_work, "A", "2.00.000", 100000)));
        QVERIFY(m_site.write("B-1.00.000.zip", package(m_work, "B", "1.00.000", 0)));
        QVERIFY(m_site.write("run-2", "setup"));
    }

    void init()
    {
        m_suite = m_fixture.makeSuite("Core", {{"A", manifest("A", "1.0.0")}});
        m_fixture.useSuite(m_suite);
        QDir(dropbox()).removeRecursively();
        m_fixture.setMachineValue("ConfigMgr/RepositoryName", "main");
        m_fixture.setMachineValue("ConfigMgr/RepositoryVersion", "1.00.000");
        QCOMPARE(m_fixture.run({"--update-sites", m_site.url().toString()}).code, 0);
    }

    void endsWithTheCodeOf_data()
    {
        using Code = ExitCode;
        const Rows<QString, Code, QStringList, QString, QString> row("words", "code", "said", "version", "content");
        const QString two = "2.0.0";
        const auto newer = [&](const char* name, const QString& words, Code code, const QStringList& said) {
            row(name, words, code, said, two, update());
        };
        newer("check", "--check", Code::Ok, {"\n1.00.000   2.00.000  "});
        const QString noted = update().replace(
            "</feature>", "<notes>Starts\n- in half the time</notes><notes version='1.0.0'>first</notes></feature>");
        row("check shows release notes", "--check", Code::Ok, {"Core 2.00.000\n  Starts\n  - in half the time"}, two,
            noted);
        row("check has them as JSON", "--json --check", Code::Ok,
            {"\"notes\":[{\"feature\":\"Core\",\"text\":\"Starts\\n- in half the time"}, two, noted);
        newer("update", "--update", Code::Ok, {"Version 2.00.000 is ready (", "VCore: main-2.00.000: 100 % of "});
        newer("update with an unknown feature", "--update Nonsense", Code::FeatureMissing, {"Nonsense"});
        newer("option behind a feature", "--update Core --json", Code::Usage, {"options stand before"});
        newer("install no file", "--install /no/file", Code::NothingToInstall,
              {"/no/file is not installed: it does not exist"});
        const QString site = "--install " + m_site.folder() + '/';
        const QString install = site + "repository.xml";
        newer("install", install, Code::Ok, {"Installed: Core 2.00.000.", "  unpacking   A 2.00.000\n"});
        newer("install a package of one's own", site + "A-2.00.000.zip", Code::Ok,
              {"Installed: Core 1.00.000, VelmDev 0.00.001."});
        newer("bootstrap without its folder", "--bootstrap", Code::NothingToInstall, {"Bootstrap/repository.xml"});

        const QString old = feature("Core", "1.0.0", "");
        row("check finds nothing newer", "--check", Code::NoUpdate, {"1.00.000 is the newest"}, "1.0.0", old);
        row("update finds nothing newer", "--update", Code::NoUpdate, {"newest"}, "1.0.0", old);
        row("no repository", "--check", Code::NoSiteAnswered, {"not known", "tag mismatch"}, two, "</broken>");
        const QString needy = "2.0.0' core_version='1.5";
        row("update of a newer core", "--update", Code::CoreTooOld, {"the installed version 1.00.000"}, needy,
            update());
        row("install for a newer core", install, Code::CoreTooOld, {"it needs the core version 1.05.000"}, needy,
            update());
        const QString core = update() + "<runtime version='2.0.0' name='run-2'><source>run-2</source><hash>" +
                             QCryptographicHash::hash("setup", QCryptographicHash::Sha1).toHex() + "</hash></runtime>";
        row("check finds a new core", "--check", Code::NewCore, {"a new core first"}, two, core);
        row("update to a new core", "--update", Code::NewCore, {"/Varkel/VCore/run-2\n"}, two, core);
        row("the same as JSON", "--json --update", Code::NewCore, {"/Varkel/VCore/run-2\""}, two, core);
        row("lost package", "--update", Code::FetchFailed, {"A-2.00.000 could not be fetched"}, two,
            update("lost%1%2"));
        row("another package", "--update", Code::FetchFailed, {"A-2.00.000"}, two, update("site.xml?%1%2"));
        row("lost feature", "--update", Code::FeatureMissing, {"lacks a feature"}, two, feature("Other", "2.0.0", ""));
        row("install without a package", install, Code::InstallIncomplete, {"Installed: Core 1.00.000."}, two,
            feature("Core", "2.0.0", pluginElement("C", "1.00.000", "x")));
    }
    void endsWithTheCodeOf()
    {
        const auto [words, code, said, version, content] =
            cells<QString, ExitCode, QStringList, QString, QString>("words", "code", "said", "version", "content");
        publish(version, content);
        const Ended ended = m_fixture.run(words);
        for (const QString& text : said)
            QVERIFY2((ended.output + ended.reasons).contains(text), qPrintable(ended.output + ended.reasons));
        QCOMPARE(ended.code, int(code));
    }

    void answersInJson_data()
    {
        const Rows<QString> row("members");
        const QString install = "failed_commands features installed left_out reason removed result";
        row("--check", "current_version requires_new_core result_code sites size update_to_version");
        row("--update", "current_version requires_new_core result_code sites size update_to_version");
        row("--update-sites", "sites");
        row("--install", install);
        row("--bootstrap", install);
        row("--uninstall", "folder result waiting");
        row("--verify", "files findings plugins reason result");
        row("--repair", "failed_commands reason repaired result unrepaired");
        row("--report", "file text");
        row("--install-dir", "folder setting");
        row("--disable", "disabled");
        row("--enable", "disabled");
        row("--list", "core_version disabled features plugins running services");
    }
    void answersInJson()
    {
        const QString words = QTest::currentDataTag();
        publish("2.0.0", update());
        const QString site = m_site.folder() + "/repository.xml";
        const QMap<QString, QString> values{{"--install", site}, {"--disable", "A"}, {"--enable", "A"}};
        const Ended ended = m_fixture.run(QString("--json %1 %2").arg(words, values.value(words)).trimmed());
        QTEST(QStringList(QJsonDocument::fromJson(ended.output.toUtf8()).object().keys()).join(' '), "members");
    }

    void tellsWhatTheSitesAnswer_data()
    {
        const Rows<QStringList, ExitCode, QString> row("sites", "code", "said");
        const QString silent = m_site.url("", "~status=500").toString();
        row("none is set", {"none"}, ExitCode::NoUpdate, "no update site is set. VCore --update-sites URL");
        row("none answers", {silent}, ExitCode::NoSiteAnswered, silent + "site.xml: the server answers 500");
        row("one of two answers", {silent, m_site.url().toString()}, ExitCode::NoUpdate, "Not all could be read");
    }
    void tellsWhatTheSitesAnswer()
    {
        const auto [sites, code, said] = cells<QStringList, ExitCode, QString>("sites", "code", "said");
        publish("1.0.0", feature("Core", "1.0.0", ""));
        QCOMPARE(m_fixture.run(QStringList("--update-sites") + sites).code, 0);
        const Ended ended = m_fixture.run("--check");
        QVERIFY2(ended.output.contains(said), qPrintable(ended.output + ended.reasons));
        QCOMPARE(ended.code, int(code));
    }

    void showsAndSetsTheSites()
    {
        QCOMPARE(m_fixture.run("--update-sites").output, m_site.url().toString() + '\n');
        const QString folder = QDir(m_work.path()).canonicalPath();
        const QStringList sites{"https://example.org/a%20b", "http://example.org:8080/",
                                QUrl::fromLocalFile(folder).toString()};
        QCOMPARE(m_fixture.run({"--update-sites", sites[0], sites[1], folder}).code, 0);
        QCOMPARE(m_fixture.run("--update-sites").output, sites.join('\n') + '\n');
        QCOMPARE(m_fixture.run("--update-sites example.org").code, int(ExitCode::Usage));
        QCOMPARE(m_fixture.run("--update-sites none").output, QString());
        const Ended ended = m_fixture.run("--check");
        QCOMPARE(ended.code, int(ExitCode::NoUpdate));
        QVERIFY2(ended.output.contains("no update site is set"), qPrintable(ended.output));
    }

    void showsAndSetsTheInstallation_data()
    {
        const Rows<QString, ExitCode, QString> row("folder", "code", "said");
        row("what is set", "", ExitCode::Ok, "The installation folder is ");
        row("one with plugins", "other", ExitCode::Ok, "The installation folder is ");
        row("one to install from", "fresh", ExitCode::Ok, "The installation folder is ");
        row("none that is there", "nowhere", ExitCode::Usage, "nowhere does not exist");
        row("a file", "other/file", ExitCode::Usage, "file is no folder");
        row("the folder of the plugins", "other/plugins", ExitCode::Usage,
            "the installation folder is the one around it");
        row("an empty one", "empty", ExitCode::Usage, "neither the folder \"plugins\" is in it, nor \"Bootstrap\"");
    }
    void showsAndSetsTheInstallation()
    {
        const auto [folder, code, said] = cells<QString, ExitCode, QString>("folder", "code", "said");
        for (const char* file :
             {"other/file", "other/plugins/features.xml", "fresh/Bootstrap/repository.xml", "empty/x/y"})
            writeFile(m_work.filePath(file), "<repository/>");
        const QString whole = QDir::cleanPath(m_work.filePath(folder));
        const Ended ended =
            m_fixture.run(folder.isEmpty() ? QStringList("--install-dir") : QStringList{"--install-dir", whole + '/'});
        QCOMPARE(ended.code, int(code));
        QVERIFY2((ended.output + ended.reasons).contains(said), qPrintable(ended.output + ended.reasons));
        const QString set = QDir::toNativeSeparators(code == ExitCode::Ok && !folder.isEmpty() ? whole : m_suite);
        QVERIFY2(m_fixture.run("--install-dir").output.contains("is " + set + " (\"InstallDir\" in "), qPrintable(set));
        if (Platform::hasUnixFiles()) { // where settings can be had in a place that is none
            const Ended refused =
                m_fixture.run({"--install-dir", m_suite}, {{"XDG_CONFIG_DIRS", m_work.filePath("other/file")}});
            QCOMPARE(refused.code, int(ExitCode::SettingsFailed));
            QVERIFY2(refused.reasons.contains("other/file/Varkel/Pelmora.conf cannot be written"),
                     qPrintable(refused.reasons));
        }
    }

    void fetchesInstallsAndRemoves()
    {
        const QByteArray more = readFile(m_site.folder() + "/B-1.00.000.zip");
        const QString features = update() + feature("More", "1.0.0", pluginElement("B", "1.00.000", more));
        publish("2.0.0", features);
        const char* waits = "is installed at the next start.";
        QVERIFY(!m_fixture.run("--check").output.contains(waits));
        QCOMPARE(m_fixture.run("--update More").code, 0);
        QVERIFY(m_fixture.run("--check").output.contains(waits));
        QVERIFY(QFile::exists(inSuite("plugins/A-1.00.000")));
        QVERIFY(!QFile::exists(inSuite("plugins/A-2.00.000")));
        QVERIFY(m_fixture.serve());
        for (const char* line :
             {"\nA +2\\.00\\.000", "\nB +1\\.00\\.000", "\nCore +2\\.00\\.000", "\nMore +1\\.00\\.000"})
            QVERIFY2(m_fixture.run("--list").output.contains(QRegularExpression(line)), line);
        QVERIFY(!QFile::exists(inSuite("plugins/A-1.00.000")));
        QVERIFY(!QFile::exists(dropbox() + "/repository.xml"));

        // Fetching is safe beside the host, installing is not.
        QCOMPARE(m_fixture.run("--update").code, int(ExitCode::NoUpdate));
        for (const char* words : {"--uninstall", "--bootstrap", "--install x"})
            QCOMPARE(m_fixture.run(words).code, int(ExitCode::HostRunning));
        QCOMPARE(m_fixture.quit(), 0);

        // Of a repository that is newer in name only, the version is all that there is to install.
        publish("2.1.0", features);
        QCOMPARE(m_fixture.run("--update").code, 0);
        QVERIFY(m_fixture.serve());
        QVERIFY2(m_fixture.run("--check").output.contains("2.01.000 is the newest"), "the version was not stored");
        QCOMPARE(m_fixture.quit(), 0);
        const Ended removed = m_fixture.run("--uninstall");
        QCOMPARE(removed.code, 0);
        QVERIFY2(removed.output.contains("  removing    A 2.00.000\n"), qPrintable(removed.output));
        QVERIFY(!QFile::exists(inSuite("plugins")));
        QCOMPARE(m_fixture.run("").code, int(ExitCode::NoCore));
    }

    void takesTurns()
    {
        publish("2.0.0", update());
        QLockFile lock(cHostAddress::ofInstallation(m_suite).updateLockPath());
        QVERIFY(lock.tryLock());
        for (const char* words : {"--update", "--install x", "--uninstall"})
            QCOMPARE(m_fixture.run(words).code, int(ExitCode::UpdateRunning));
        QCOMPARE(m_fixture.run("--check").code, 0);
        lock.unlock();
        QCOMPARE(m_fixture.run("--update").code, 0);
        QVERIFY(lock.tryLock());
        servesA("1.00.000"); // a start beside a fetch leaves what waits to the next one
        lock.unlock();
        servesA("2.00.000");
    }

    void startsWhatIsInstalledWhenNothingElseCanBe()
    {
        publish("2.0.0", update());
        QCOMPARE(m_fixture.run("--update").code, 0);
        QFile waiting(dropbox() + "/A-2.00.000.zip");
        QVERIFY(waiting.open(QIODevice::ReadWrite));
        QVERIFY(waiting.seek(100));
        QCOMPARE(waiting.write("damage"), qint64(6));
        waiting.close();
        servesA("1.00.000");
        QCOMPARE(m_fixture.run("--update").code, 0); // fetches anew what was damaged
        servesA("2.00.000");
    }

#ifdef FILE_FAULTS
    void survivesADiskThatFails_data()
    {
        const Rows<QStringList, QString, int, QString> row("words", "fault", "code", "version");
        const QStringList install{"--install", m_site.folder() + "/repository.xml"};
        const QStringList sites{"--update-sites", "http://example.org"};
        row("read-only for the sites", sites, "EROFS 1", int(ExitCode::SettingsFailed), "1.00.000");
        row("full while it fetches", {"--update"}, "ENOSPC 1", int(ExitCode::FetchFailed), "1.00.000");
        row("full while it installs", install, "ENOSPC 3", int(ExitCode::InstallIncomplete), "1.00.000");
        row("full while a start installs what waits", {"--start-only"}, "ENOSPC 1", int(ExitCode::Ok), "2.00.000");
        row("killed while it installs", install, "kill 10", -1, "1.00.000");
        row("killed while it tidies up", install, "kill last", -1, "2.00.000");
        row("read-only while it removes", {"--uninstall"}, "EROFS 1", int(ExitCode::UninstallIncomplete), "1.00.000");
    }
    void survivesADiskThatFails()
    {
        const auto [words, fault, version] = cells<QStringList, QString, QString>("words", "fault", "version");
        publish("2.0.0", update());
        const Variables folders{{"--update", dropbox()}, {"--update-sites", m_fixture.path("user")}};
        QString said;
        const auto run = [&, words = words](const QString& what) {
            Variables faults = faultsBelow(folders.value(words.first(), m_suite), what);
            if (words.first() == "--update-sites")
                faults["FILE_FAULTS_REGISTRY"] = "1";
            const Ended ended = m_fixture.run(words, faults);
            said = ended.reasons;
            return ended.code;
        };
        if (words.first() == "--start-only")
            QCOMPARE(m_fixture.run("--update").code, 0);
        int code = fault == "kill last" ? 0 : run(fault);
        for (int number = 100; fault == "kill last" && code == 0 && number > 0; --number) {
            init();
            code = run(QString("kill %1").arg(number));
        }
        QTEST(code, "code");
        const char* cause = fault.startsWith("ENOSPC")  ? "no space is left on the device that holds "
                            : fault.startsWith("EROFS") ? " is read-only"
                                                        : "";
        if (words.first() == "--update-sites" && !Platform::hasUnixFiles()) // the registry has other causes
            cause = "access is denied";
        QVERIFY2(said.contains(cause), qPrintable(said));
        QCOMPARE(said.contains("it waits there; mend the cause"), words.first() == "--start-only");
        servesA(version);
    }
    void aFullDiskLosesNoSettings_data()
    {
        const Rows<QStringList, QString, int> row("words", "file", "code");
        const QString machine = QSettings(QSettings::SystemScope, "Varkel", "Pelmora").fileName();
        const QString user = QSettings(QSettings::UserScope, "Varkel", "VCore").fileName();
        row("the sites", {"--update-sites", "http://example.org"}, user, int(ExitCode::SettingsFailed));
        row("an install", {"--install", m_site.folder() + "/repository.xml"}, machine,
            int(ExitCode::InstallIncomplete));
    }
    void aFullDiskLosesNoSettings()
    {
        if (!Platform::hasUnixFiles())
            QSKIP("settings stand in the registry");
        const auto [words, file, code] = cells<QStringList, QString, int>("words", "file", "code");
        publish("2.0.0", update());
        const QByteArray before = readFile(file);
        QVERIFY(before.size() > 20);
        int call = 0;
        for (bool isDone = false; !isDone;) {
            const QString fault = QString("ENOSPC %1").arg(++call);
            const Ended ended = m_fixture.run(words, faultsBelow(QFileInfo(file).path(), fault));
            isDone = ended.code == 0;
            QCOMPARE(ended.code, isDone ? 0 : code);
            QCOMPARE(readFile(file) == before, !isDone);
            QVERIFY2(isDone || call == 1 || ended.reasons.contains("no space is left on the device that holds "),
                     qPrintable(ended.reasons));
        }
        QVERIFY2(call > 6, qPrintable(QString::number(call)));
        QVERIFY(words.first() != "--install" || readFile(file).contains("2.00.000"));
    }
#endif

    void isCancelled_data()
    {
        const Rows<QString, QString, QString> row("command", "site", "source");
        row("while it fetches", "--update", "", "~trickle=20/%1-%2.zip");
        row("while the site is silent", "--update", "~pause=0", "%1-%2.zip");
        row("while a check waits", "--check", "~pause=0", "%1-%2.zip");
    }
    void isCancelled()
    {
        const auto [command, site, source] = cells<QString, QString, QString>("command", "site", "source");
        publish("2.0.0", update(source));
        QCOMPARE(m_fixture.run({"--update-sites", m_site.url("", site).toString()}).code, 0);
        m_site.takeRequests();
        QProcess process;
        Platform::startInterruptible(process, VCORE_PROGRAM, {command});
        QStringList requests;
        while (!requests.join(' ').contains("/~"))
            QTRY_VERIFY_WITH_TIMEOUT(!(requests += m_site.takeRequests()).isEmpty(), 10000);
        Platform::interrupt(process);
        QCOMPARE(exitCodeOf(process), int(ExitCode::Cancelled));
        QVERIFY(!QFile::exists(dropbox() + "/repository.xml"));
    }

    void drawsABarOnATerminal()
    {
        publish("2.0.0", update());
        QProcess terminal;
        if (!Platform::startOnTerminal(terminal, VCORE_PROGRAM, {"--update"}))
            QSKIP("a terminal is needed");
        QCOMPARE(exitCodeOf(terminal), 0);
        const QString drawn = Platform::drawnText(terminal.readAllStandardOutput());
        QVERIFY2(drawn.contains(QRegularExpression("(^|\r)main-2\\.00\\.000  \\[#{10,}\\]  100 %  \\d")),
                 qPrintable(drawn));
        QVERIFY2(drawn.contains("\rVersion 2.00.000 is ready ("), qPrintable(drawn));
    }
};

QTEST_GUILESS_MAIN(tst_VCoreUpdate)
#include "tst_VCoreUpdate.moc"
