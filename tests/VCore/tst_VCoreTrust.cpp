#include "HostFixture.h"
#include "HttpSite.h"
#include "MachineProgram.h"

/// The commands around trust, and what the others say with a root pinned, as a person and a script meet them. The site
/// is signed by other means than our own (tuf_site.py).
class tst_VCoreTrust : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;
    HttpSite m_site;
    QString m_root = m_site.folder() + "/../1.root.json";

    void forge(const QString& steps) { QCOMPARE(m_site.forge(steps), QString()); }

    void runs(const QStringList& words, ExitCode code, const QStringList& said)
    {
        const Ended ended = m_fixture.run(words);
        for (const QString& text : said)
            QVERIFY2((ended.output + ended.reasons).contains(text), qPrintable(ended.output + ended.reasons));
        QCOMPARE(ended.code, int(code));
    }

private slots:
    void init()
    {
        QVERIFY(m_site.isRunning());
        m_fixture.useSuite(
            m_fixture.makeSuite("Core", {{"A", "<m><plugin name='A' version='1.0.0' runtime_api_version='13'/></m>"}}));
        m_fixture.setMachineValue("ConfigMgr/RepositoryName", "main");
        m_fixture.setMachineValue("ConfigMgr/RepositoryVersion", "1.00.000");
        QCOMPARE(m_fixture.run("--untrust").code, 0);
        QCOMPARE(m_fixture.run({"--update-sites", m_site.url().toString()}).code, 0);
        const QStringList words{PACKAGES_PY, "repository", m_site.folder() + "/main", "main 2.0",
                                "Core 2.0: A 2.0 !silent"};
        QCOMPARE(MachineProgram::execute("python3", words), 0);
        QVERIFY(m_site.write("site.xml", "<site><repository config='release' status='release' platform='x64' "
                                         "update='main' content='main'/></site>"));
        forge("new(prefix=False); read = lambda path: open(site.folder + '/' + path, 'rb').read()");
        forge("[target(path, read(path)) for path in ('site.xml', 'main/repository.xml', 'main/A-2.00.000.zip')]");
        forge("release(); mark(); save('/tuf/1.root.json')");
    }

    void pinsShowsAndEnds()
    {
        runs({"--trust"}, ExitCode::Ok, {"No root of trust is pinned: what the update sites offer is not verified."});
        runs({"--check"}, ExitCode::Ok, {"There is an update.", "VCore: No root of trust is pinned"});
        runs({"--trust", m_site.folder() + "/site.xml"}, ExitCode::RootRefused, {"No root is pinned: "});
        runs({"--trust", m_site.folder() + "/none"}, ExitCode::RootRefused, {"/none cannot be read: it is no file"});
        runs({"--trust", m_root}, ExitCode::Ok,
             {"A root of trust is pinned.\n", "\nroot       1        2090-01-01 00:00 UTC  1 of 1 key "});
        runs({"--trust", m_root}, ExitCode::Ok, {"The root of trust is another one from now on.\n"});
        runs({"--check"}, ExitCode::Ok, {"There is an update."});
        QVERIFY(!m_fixture.run("--check").reasons.contains("No root of trust"));
        runs({"--trust"}, ExitCode::Ok, {"\ntargets    3        2090"});
        const QJsonObject state = QJsonDocument::fromJson(m_fixture.run("--json --trust").output.toUtf8()).object();
        QCOMPARE(state.keys(), QStringList({"pinned", "reason", "roles"}));
        QCOMPARE(state["roles"][1]["name"].toString(), QString("timestamp"));
        QCOMPARE(state["roles"][0]["keys"].toArray().size(), 1);
        runs({"--untrust"}, ExitCode::Ok, {"No root of trust is pinned"});
        QVERIFY(!QFile::exists(m_fixture.path("suite/Trust")));
    }

    void refusesByName_data()
    {
        const Rows<QString, QStringList, ExitCode, QStringList> row("attack", "words", "code", "said");
        row("rollback", "timestamp.version = 2; put(timestamp)", {"--check"}, ExitCode::NoSiteAnswered,
            {"tuf/: timestamp.json is refused: version 2 is older than what was seen, 3", "VCore --trust shows"});
        row("freeze", "timestamp.expires = days(-1); publish()", {"--update"}, ExitCode::NoSiteAnswered,
            {"timestamp.json is refused: expired on ", "this computer's clock says "});
        row("arbitrary package", "target('main/A-2.00.000.zip', b'x', served=read('main/A-2.00.000.zip')); release()",
            {"--update"}, ExitCode::FetchFailed, {"A-2.00.000 could not be fetched", "more bytes than are accepted"});
        row("mix and match", "publish(targets); files['/tuf/4.targets.json'] = files['/tuf/3.targets.json']",
            {"--update"}, ExitCode::NoSiteAnswered, {"4.targets.json is refused: "});
        row("stolen timestamp key",
            "rotate(targets, 'thief'); publish(root, targets); root.by = [key('timestamp0')]; put(root)", {"--update"},
            ExitCode::NoSiteAnswered, {"2.root.json is refused: signed by 0 of 1 key"});
        row("endless metadata", "faults['/tuf/timestamp.json'] = '~endless'", {"--update"}, ExitCode::NoSiteAnswered,
            {"timestamp.json is refused: has more than "});
        row("no metadata", "[files.pop(path) for path in list(files) if 'tuf' in path]", {"--update"},
            ExitCode::NoSiteAnswered, {"timestamp.json cannot be fetched: "});
        row("tampered catalogue",
            "files['/main/repository.xml'] = read('main/repository.xml').replace(b'sha1', b'sha2')", {"--update"},
            ExitCode::NoSiteAnswered, {"main/repository.xml is refused: its SHA-256 is not"});
        row("extraneous dependency", "del targets.targets['main/A-2.00.000.zip']; release()", {"--update"},
            ExitCode::FetchFailed, {"A-2.00.000 could not be fetched", "no trusted metadata names it"});
        row("medium", "pass", {"--install", m_site.folder() + "/main/repository.xml"}, ExitCode::Ok,
            {"Installed: Core 2.00.000."});
        row("strange medium", "del targets.targets['main/A-2.00.000.zip']; release()",
            {"--install", m_site.folder() + "/main/A-2.00.000.zip"}, ExitCode::InstallIncomplete,
            {"no trusted metadata names it", "unsigned is installed with --unsigned all the same"});
        row("all the same", "del targets.targets['main/A-2.00.000.zip']; release()",
            {"--install", m_site.folder() + "/main/A-2.00.000.zip", "--unsigned"}, ExitCode::Ok,
            {"without regard to the pinned root", "VelmDev 0.00.001"});
    }
    void refusesByName()
    {
        const auto [attack, words, code, said] =
            cells<QString, QStringList, ExitCode, QStringList>("attack", "words", "code", "said");
        QCOMPARE(m_fixture.run({"--trust", m_root}).code, 0);
        const bool isKnown = words.first() != "--install" || code == ExitCode::Ok;
        if (isKnown && !words.contains("--unsigned"))
            QCOMPARE(m_fixture.run("--check").code, 0);
        forge(attack);
        runs(words, code, said);
        QVERIFY(m_fixture.serve()); // what it had goes on
        QCOMPARE(m_fixture.quit(), 0);
        if (words.first() == "--install")
            return;
        forge("heal()");
        runs({"--update"}, ExitCode::Ok, {"Version 2.00.000 is ready"});
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains("2.00.000"));
        QCOMPARE(m_fixture.quit(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_VCoreTrust)
#include "tst_VCoreTrust.moc"
