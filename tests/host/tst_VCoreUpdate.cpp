#include "HostFixture.h"
#include "HttpSite.h"
#include "MachineProgram.h"
#include "Platform.h"
#include "Rows.h"

#include "wire/cHostAddress.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLockFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QUrl>

namespace {

const QString Site =
    "<site><repository config='release' status='release' platform='x64' update='main' content='.'/></site>";

QByteArray manifest(const QString& name, const QString& version)
{
    return QString("<m><plugin name='%1' version='%2' runtime_api_version='13'/></m>").arg(name, version).toUtf8();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Bytes that no compression makes fewer.
QByteArray noise(int size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator generator(1);
    for (char& byte : bytes)
        byte = char(generator.generate());
    return bytes;
}

QByteArray package(const QTemporaryDir& folder, const QString& name, const QString& version, int fillBytes)
{
    const QString zip = folder.filePath("package.zip");
    QFile::remove(zip);
    for (const auto& [file, bytes] :
         {std::pair("Manifest.xml", manifest(name, version)), std::pair("fill", noise(fillBytes))}) {
        QFile out(folder.filePath(file));
        if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
            return QByteArray();
    }
    QProcess python;
    python.setWorkingDirectory(folder.path());
    MachineProgram::start(python, "python3", {"-m", "zipfile", "-c", zip, "Manifest.xml", "fill"});
    python.waitForFinished();
    return contentOf(zip);
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

#ifdef FILE_FAULTS
/// The environment in which what changes the disk below @p folder goes wrong.
QMap<QString, QString> faultsBelow(const QString& folder, const QString& fault)
{
    QDir().mkpath(folder);
    return {{"LD_PRELOAD", FILE_FAULTS},
            {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},
            {"FILE_FAULTS", fault},
            {"FILE_FAULTS_BELOW", QDir(folder).canonicalPath()}};
}
#endif

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

    /// Puts a repository description onto the site, and the same into the folder of bootstrap.
    void publish(const QString& attributes, const QString& content)
    {
        const QString xml = QString("<repository name='main' %1>%2</repository>").arg(attributes, content);
        QVERIFY(m_site.write("repository.xml", xml.toUtf8()));
    }

    /// An update of Core whose package is fetched as @p source; QString as the rows take it.
    QString update(const QString& source = "%1-%2.zip") const
    {
        return feature("Core", "2.0.0",
                       pluginElement("A", "2.00.000", contentOf(m_site.folder() + "/A-2.00.000.zip"), source));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.isRunning());
        QVERIFY(m_site.write("site.xml", Site.toUtf8()));
        QVERIFY(m_site.write("A-2.00.000.zip", package(m_work, "A", "2.00.000", 100000)));
        QVERIFY(m_site.write("B-1.00.000.zip", package(m_work, "B", "1.00.000", 0)));
        QVERIFY(m_site.write("runtime-2.run", "the setup program"));
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

    void endsWithTheCodeOf_data();
    void endsWithTheCodeOf()
    {
        QFETCH(QString, attributes);
        QFETCH(QString, content);
        QFETCH(QString, words);
        QFETCH(ExitCode, code);
        QFETCH(QString, said);
        publish(attributes, content);
        const HostFixture::Ended ended = m_fixture.run(words);
        QVERIFY2((ended.output + ended.reasons).contains(said), qPrintable(ended.output + ended.reasons));
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
        const HostFixture::Ended ended = m_fixture.run("--check");
        QCOMPARE(ended.code, int(ExitCode::NoUpdate));
        QVERIFY2(ended.output.contains("no update site is set"), qPrintable(ended.output));
    }

    void fetchesInstallsAndRemoves()
    {
        const QByteArray more = contentOf(m_site.folder() + "/B-1.00.000.zip");
        const QString features = update() + feature("More", "1.0.0", pluginElement("B", "1.00.000", more));
        publish("version='2.0.0'", features);
        const char* waits = "is installed at the next start.";
        QVERIFY(!m_fixture.run("--check").output.contains(waits));
        QCOMPARE(m_fixture.run("--update More").code, 0);
        QVERIFY(m_fixture.run("--check").output.contains(waits));
        QVERIFY(QFile::exists(inSuite("plugins/A-1.00.000")) && !QFile::exists(inSuite("plugins/A-2.00.000")));
        QVERIFY(m_fixture.serve());
        for (const char* line :
             {"\nA +2\\.00\\.000", "\nB +1\\.00\\.000", "\nCore +2\\.00\\.000", "\nMore +1\\.00\\.000"})
            QVERIFY2(m_fixture.run("--list").output.contains(QRegularExpression(line)), line);
        QVERIFY(!QFile::exists(inSuite("plugins/A-1.00.000")) && !QFile::exists(dropbox() + "/repository.xml"));

        // Fetching is safe beside the host, installing is not.
        QCOMPARE(m_fixture.run("--update").code, int(ExitCode::NoUpdate));
        for (const char* words : {"--uninstall", "--bootstrap", "--install x"})
            QCOMPARE(m_fixture.run(words).code, int(ExitCode::HostRunning));
        QCOMPARE(m_fixture.quit(), 0);

        // Of a repository that is newer in name only, the version is all that there is to install.
        publish("version='2.1.0'", features);
        QCOMPARE(m_fixture.run("--update").code, 0);
        QVERIFY(m_fixture.serve());
        QVERIFY2(m_fixture.run("--check").output.contains("2.01.000 is the newest"), "the version was not stored");
        QCOMPARE(m_fixture.quit(), 0);
        const HostFixture::Ended removed = m_fixture.run("--uninstall");
        QCOMPARE(removed.code, 0);
        QVERIFY2(removed.output.contains("  removing    A 2.00.000\n"), qPrintable(removed.output));
        QVERIFY(!QFile::exists(inSuite("plugins")));
        QCOMPARE(m_fixture.run("").code, int(ExitCode::NoCore));
    }

    void takesTurns()
    {
        publish("version='2.0.0'", update());
        QLockFile lock(cHostAddress::ofInstallation(m_suite).updateLockPath());
        QVERIFY(lock.tryLock());
        for (const char* words : {"--update", "--install x", "--uninstall"})
            QCOMPARE(m_fixture.run(words).code, int(ExitCode::UpdateRunning));
        QCOMPARE(m_fixture.run("--check").code, 0);
        lock.unlock();
        QCOMPARE(m_fixture.run("--update").code, 0);
        QVERIFY(lock.tryLock());
        for (const char* version :
             {"1.00.000", "2.00.000"}) { // a start beside a fetch leaves what waits to the next one
            QVERIFY(m_fixture.serve());
            QVERIFY(m_fixture.run("--list").output.contains(QRegularExpression(QString("\nA +") + version)));
            QCOMPARE(m_fixture.quit(), 0);
            lock.unlock();
        }
    }

    void startsWhatIsInstalledWhenNothingElseCanBe()
    {
        publish("version='2.0.0'", update());
        QCOMPARE(m_fixture.run("--update").code, 0);
        QFile waiting(dropbox() + "/A-2.00.000.zip");
        QVERIFY(waiting.open(QIODevice::ReadWrite) && waiting.seek(100) && waiting.write("damage") == 6);
        waiting.close();
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains(QRegularExpression("\nA +1\\.00\\.000")));
        QCOMPARE(m_fixture.quit(), 0);
        QCOMPARE(m_fixture.run("--update").code, 0); // fetches anew what was damaged
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains(QRegularExpression("\nA +2\\.00\\.000")));
        QCOMPARE(m_fixture.quit(), 0);
    }

#ifdef FILE_FAULTS
    void tellsThatSitesCannotBeStored()
    {
        QMap<QString, QString> faults = faultsBelow(m_fixture.path("user"), "EROFS 1");
        faults["FILE_FAULTS_REGISTRY"] = "1";
        QCOMPARE(m_fixture.run({"--update-sites", "http://example.org"}, faults).code, int(ExitCode::SettingsFailed));
    }
    void survivesADiskThatFails_data()
    {
        const Rows<QStringList, QString, int, QString> row("words", "fault", "code", "version");
        const QStringList install{"--install", m_site.folder() + "/repository.xml"};
        row("full while it fetches", {"--update"}, "ENOSPC 1", int(ExitCode::FetchFailed), "1\\.00");
        row("full while it installs", install, "ENOSPC 3", int(ExitCode::InstallIncomplete), "1\\.00");
        row("killed while it installs", install, "kill 10", -1, "1\\.00");
        // Windows needs fewer calls for the same.
        row("killed while it tidies up", install, Platform::hasUnixFiles() ? "kill 25" : "kill 23", -1, "2\\.00");
        row("read-only while it removes", {"--uninstall"}, "EROFS 1", int(ExitCode::UninstallIncomplete), "1\\.00");
    }
    void survivesADiskThatFails()
    {
        QFETCH(QStringList, words);
        QFETCH(QString, fault);
        QFETCH(QString, version);
        publish("version='2.0.0'", update());
        const QString below = words.first() == "--update" ? dropbox() : m_suite;
        QTEST(m_fixture.run(words, faultsBelow(below, fault)).code, "code");
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains(QRegularExpression("\nA +" + version)));
        QCOMPARE(m_fixture.quit(), 0);
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
        QFETCH(QString, command);
        QFETCH(QString, site);
        QFETCH(QString, source);
        publish("version='2.0.0'", update(source));
        QCOMPARE(m_fixture.run({"--update-sites", m_site.url("", site).toString()}).code, 0);
        m_site.takeRequests();
        QProcess process;
        Platform::startInterruptible(process, VCORE_PROGRAM, {command});
        QStringList requests;
        while (!requests.join(' ').contains("/~"))
            QTRY_VERIFY_WITH_TIMEOUT(!(requests += m_site.takeRequests()).isEmpty(), 10000);
        Platform::interrupt(process);
        QCOMPARE(HostFixture::exitCodeOf(process), int(ExitCode::Cancelled));
        QVERIFY(!QFile::exists(dropbox() + "/repository.xml"));
    }

    void drawsABarOnATerminal()
    {
        publish("version='2.0.0'", update());
        QProcess terminal;
        if (!Platform::startOnTerminal(terminal, VCORE_PROGRAM, {"--update"}))
            QSKIP("a terminal is needed");
        QCOMPARE(HostFixture::exitCodeOf(terminal), 0);
        const QString drawn = Platform::drawnText(terminal.readAllStandardOutput());
        QVERIFY2(drawn.contains(QRegularExpression("(^|\r)main-2\\.00\\.000  \\[#{10,}\\]  100 %  \\d")),
                 qPrintable(drawn));
        QVERIFY2(drawn.contains("\rVersion 2.00.000 is ready ("), qPrintable(drawn));
    }
};

void tst_VCoreUpdate::endsWithTheCodeOf_data()
{
    const Rows<QString, QString, QString, ExitCode, QString> row("attributes", "content", "words", "code", "said");
    const QString two = "version='2.0.0'";
    const QString runtime = "<runtime version='2.0.0' name='runtime-2.run'><source>runtime-2.run</source><hash>" +
                            QCryptographicHash::hash("the setup program", QCryptographicHash::Sha1).toHex() +
                            "</hash></runtime>";
    row("check", two, update(), "--check", ExitCode::Ok, "\n1.00.000   2.00.000  ");
    row("check as JSON", two, update(), "--json --check", ExitCode::Ok,
        "\"requires_new_core\":false,\"result_code\":0,\"size\":");
    row("check finds nothing newer", "version='1.0.0'", feature("Core", "1.0.0", ""), "--check", ExitCode::NoUpdate,
        "1.00.000 is the newest");
    row("check finds no repository", two, "</broken>", "--check", ExitCode::NoUpdate,
        "no update site has a repository");
    row("check finds a new core", two, update() + runtime, "--check", ExitCode::NewCore, "a new core first");
    row("update", two, update(), "--update", ExitCode::Ok, "Version 2.00.000 is ready (");
    row("update tells how far it is", two, update(), "--update", ExitCode::Ok, "VCore: main-2.00.000: 100 % of ");
    row("update with nothing newer", "version='1.0.0'", feature("Core", "1.0.0", ""), "--update", ExitCode::NoUpdate,
        "newest");
    row("update to a new core", two, update() + runtime, "--update", ExitCode::NewCore,
        "/Varkel/VCore/runtime-2.run\n");
    row("the same as JSON", two, update() + runtime, "--json --update", ExitCode::NewCore,
        "/Varkel/VCore/runtime-2.run\"");
    row("update that needs a newer core", two + " core_version='1.5'", update(), "--update", ExitCode::CoreTooOld,
        "than the installed version 1.00.000");
    row("update without its package", two, update("lost-%1-%2.zip"), "--update", ExitCode::FetchFailed,
        "A-2.00.000 could not be fetched");
    row("update with another package", two, update("site.xml?%1%2"), "--update", ExitCode::FetchFailed, "A-2.00.000");
    row("update without an installed feature", two, feature("Other", "2.0.0", ""), "--update", ExitCode::FeatureMissing,
        "lacks a feature");
    row("update with an unknown feature", two, update(), "--update Nonsense", ExitCode::FeatureMissing, "Nonsense");
    row("option behind a feature", two, update(), "--update Core --json", ExitCode::Usage, "options stand before");
    row("install no file", two, update(), "--install /no/such/file", ExitCode::NothingToInstall,
        "/no/such/file is no description");
    row("install", two, update(), "--install " + m_site.folder() + "/repository.xml", ExitCode::Ok,
        "Installed are Core 2.00.000.");
    row("install shows what it does", two, update(), "--install " + m_site.folder() + "/repository.xml", ExitCode::Ok,
        "  unpacking   A 2.00.000\n");
    row("install without a package", two, feature("Core", "2.0.0", pluginElement("C", "1.00.000", "x")),
        "--install " + m_site.folder() + "/repository.xml", ExitCode::InstallIncomplete,
        "Installed are Core 1.00.000.");
    row("install what needs a newer core", two + " core_version='1.5'", update(),
        "--install " + m_site.folder() + "/repository.xml", ExitCode::CoreTooOld, "needs the core 1.05.000");
    row("install a package of one's own", two, update(), "--install " + m_site.folder() + "/A-2.00.000.zip",
        ExitCode::Ok, "Installed are Core 1.00.000, VelmDev 0.00.001.");
    row("install a package that is none", two, update(), "--install " + m_site.folder() + "/A-3.zip",
        ExitCode::NothingToInstall, "A-3.zip is no file");
    row("bootstrap without its folder", two, update(), "--bootstrap", ExitCode::NothingToInstall,
        "Bootstrap/repository.xml");
}

QTEST_GUILESS_MAIN(tst_VCoreUpdate)
#include "tst_VCoreUpdate.moc"
