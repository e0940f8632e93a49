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

private slots:
    void init()
    {
        QVERIFY(m_site.isRunning());
        m_fixture.useSuite(
            m_fixture.makeSuite("Core", {{"A", "<m><plugin name='A' version='1.0.0' runtime_api_version='13'/></m>"}}));
        m_fixture.setMachineValue("ConfigMgr/RepositoryName", "main");
        m_fixture.setMachineValue("ConfigMgr/RepositoryVersion", "1.00.000");
        m_fixture.expect("--untrust", ExitCode::Ok);
        m_fixture.expect({"--update-sites", m_site.url().toString()}, ExitCode::Ok);
        const QStringList words{PACKAGES_PY, "repository", m_site.folder() + "/main", "main 2.0",
                                "Core 2.0: A 2.0 !silent"};
        QCOMPARE(MachineProgram::execute("python3", words), 0);
        QVERIFY(m_site.write("site.xml", "<site><repository config='release' status='release' platform='x64' "
                                         "update='main' content='main'/></site>"));
        forge("new(prefix=False); tree(); release(); mark(); save('/tuf/1.root.json')");
    }

    void pinsShowsAndEnds()
    {
        m_fixture.expect("--trust", ExitCode::Ok,
                         {"No root of trust is pinned: what the update sites offer is not verified."});
        m_fixture.expect("--check", ExitCode::Ok, {"There is an update.", "VCore: No root of trust is pinned"});
        m_fixture.expect({"--trust", m_site.folder() + "/site.xml"}, ExitCode::RootRefused, {"No root is pinned: "});
        m_fixture.expect({"--trust", m_site.folder() + "/none"}, ExitCode::RootRefused,
                         {"/none cannot be read: it is no file"});
        m_fixture.expect({"--trust", m_root}, ExitCode::Ok,
                         {"A root of trust is pinned.\n", "\nroot       1        2090-01-01 00:00 UTC  1 of 1 key "});
        m_fixture.expect({"--trust", m_root}, ExitCode::Ok, {"The root of trust is another one from now on.\n"});
        m_fixture.expect("--check", ExitCode::Ok, {"There is an update."});
        QVERIFY(!m_fixture.run("--check").reasons.contains("No root of trust"));
        m_fixture.expect("--trust", ExitCode::Ok, {"\ntargets    3        2090"});
        const QJsonObject state = QJsonDocument::fromJson(m_fixture.run("--json --trust").output.toUtf8()).object();
        QCOMPARE(state.keys(), QStringList({"pinned", "reason", "roles"}));
        QCOMPARE(state["roles"][1]["name"].toString(), QString("timestamp"));
        QCOMPARE(state["roles"][0]["keys"].toArray().size(), 1);
        m_fixture.expect("--untrust", ExitCode::Ok, {"No root of trust is pinned"});
        QVERIFY(!QFile::exists(m_fixture.path("suite/Trust")));
    }

    void refusesByName_data()
    {
        const Rows<QString, QStringList, ExitCode, QStringList> row("attack", "words", "code", "said");
        row("rollback", "timestamp.version = 2; put(timestamp)", {"--check"}, ExitCode::NoSiteAnswered,
            {"tuf/: timestamp.json is refused: version 2 is older than what was seen, 3", "VCore --trust shows"});
        row("arbitrary package", "tamper('main/A-2.00.000.zip', lambda data: data + b'x')", {"--update"},
            ExitCode::FetchFailed, {"A-2.00.000 could not be fetched", "more bytes than are accepted"});
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
        m_fixture.expect({"--trust", m_root}, ExitCode::Ok);
        const bool isKnown = words.first() != "--install" || code == ExitCode::Ok;
        if (isKnown && !words.contains("--unsigned"))
            m_fixture.expect("--check", ExitCode::Ok);
        forge(attack);
        m_fixture.expect(words, code, said);
        QVERIFY(m_fixture.serve()); // what it had goes on
        QCOMPARE(m_fixture.quit(), 0);
        if (words.first() == "--install")
            return;
        forge("heal()");
        m_fixture.expect("--update", ExitCode::Ok, {"Version 2.00.000 is ready"});
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains("2.00.000"));
        QCOMPARE(m_fixture.quit(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_VCoreTrust)
#include "tst_VCoreTrust.moc"
