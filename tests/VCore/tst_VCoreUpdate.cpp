#include "UpdateSite.h"

#include <QtCore/QLockFile>

/// The commands that check, fetch and install, as a person and a script meet them.
class tst_VCoreUpdate : public QObject, private UpdateSite
{
    Q_OBJECT

private slots:
    void init() { begin(); }

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
        row("check reads a long description", "--check", Code::Ok, {"VCore: repository.xml: 100 % of "}, two,
            update() + "<!--" + QString(100000, 'x') + "-->");
        newer("update", "--update", Code::Ok, {"Version 2.00.000 is ready (", "VCore: main-2.00.000: 100 % of "});
        newer("option behind a feature", "--update Core --json", Code::Usage, {"options stand before"});
        newer("install no file", "--install /no/file", Code::NothingToInstall,
              {"/no/file is not installed: it does not exist"});
        const QString site = "--install " + m_site.folder() + '/';
        const QString install = site + "repository.xml";
        newer("install", install, Code::Ok, {"Installed: Core 2.00.000.", "  unpacking   A 2.00.000\n"});
        newer("install a package of one's own", site + "A-2.00.000.zip", Code::Ok,
              {"Installed: Core 1.00.000, VelmDev 0.00.001."});

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
        row("lost feature", "--update", Code::FeatureMissing, {"lacks a feature"}, two, feature("Other", "2.0.0", ""));
    }
    void endsWithTheCodeOf()
    {
        const auto [words, code, said, version, content] =
            cells<QString, ExitCode, QStringList, QString, QString>("words", "code", "said", "version", "content");
        publish(version, content);
        m_fixture.expect(words, code, said);
    }

    void tellsOfSitesThatDoNotAnswer()
    {
        publish("1.0.0", feature("Core", "1.0.0", ""));
        const QString silent = m_site.url("", "~status=500").toString();
        m_fixture.expect({"--update-sites", silent, m_site.url().toString()}, ExitCode::Ok);
        m_fixture.expect("--check", ExitCode::NoUpdate, {"1.00.000 is the newest", "Not all could be read"});
        m_fixture.expect({"--update-sites", silent}, ExitCode::Ok);
        m_fixture.expect("--check", ExitCode::NoSiteAnswered, {silent + "site.xml: the server answers 500"});
    }

    void showsAndSetsTheSites()
    {
        QCOMPARE(m_fixture.run("--update-sites").output, m_site.url().toString() + '\n');
        const QString folder = QDir(m_fixture.path("")).canonicalPath();
        const QStringList sites{"https://example.org/a%20b", "http://example.org:8080/",
                                QUrl::fromLocalFile(folder).toString()};
        m_fixture.expect({"--update-sites", sites[0], sites[1], folder}, ExitCode::Ok);
        QCOMPARE(m_fixture.run("--update-sites").output, sites.join('\n') + '\n');
        m_fixture.expect("--update-sites example.org", ExitCode::Usage);
        QCOMPARE(m_fixture.run("--update-sites none").output, QString());
    }

    void fetchesInstallsAndRemoves()
    {
        const QByteArray more = readFile(m_site.folder() + "/B-1.00.000.zip");
        publish("2.0.0", update() + feature("More", "1.0.0", pluginElement("B", "1.00.000", more)));
        const char* waits = "is installed at the next start.";
        QVERIFY(!m_fixture.run("--check").output.contains(waits));
        m_fixture.expect("--update More", ExitCode::Ok);
        const QString again = m_fixture.run("--update More").output;
        QVERIFY2(again.contains(QRegularExpression(" \\(fetched 0 B of \\d+ kB, 0 % of the packages\\)")),
                 qPrintable(again));
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
        m_fixture.expect("--update", ExitCode::NoUpdate, {"2.00.000 is the newest"});
        for (const char* words : {"--uninstall", "--bootstrap", "--install x"})
            m_fixture.expect(words, ExitCode::HostRunning);
        QCOMPARE(m_fixture.quit(), 0);
        m_fixture.expect("--uninstall", ExitCode::Ok, {"  removing    A 2.00.000\n"});
        QVERIFY(!QFile::exists(inSuite("plugins")));
        m_fixture.expect("", ExitCode::NoCore, {"\"Core\" is not installed"});
    }

    void takesTurns()
    {
        publish("2.0.0", update());
        QLockFile lock(cHostAddress::ofInstallation(m_suite).updateLockPath());
        QVERIFY(lock.tryLock());
        for (const char* words : {"--update", "--install x", "--uninstall"})
            m_fixture.expect(words, ExitCode::UpdateRunning);
        m_fixture.expect("--check", ExitCode::Ok);
        lock.unlock();
        m_fixture.expect("--update", ExitCode::Ok);
        QVERIFY(lock.tryLock());
        servesA("1.00.000"); // a start beside a fetch leaves what waits to the next one
        lock.unlock();
        servesA("2.00.000");
    }

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
        m_fixture.expect({"--update-sites", m_site.url("", site).toString()}, ExitCode::Ok);
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
