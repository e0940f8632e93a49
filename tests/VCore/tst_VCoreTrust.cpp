#include "UpdateSite.h"

/// The commands around trust, and what the others say with a root pinned, as a person and a script meet them. The site
/// is signed by other means than our own (tuf_site.py).
class tst_VCoreTrust : public QObject, private UpdateSite
{
    Q_OBJECT

    QString m_root = m_site.folder() + "/../1.root.json";

    void forge(const QString& steps) { QCOMPARE(m_site.forge(steps), QString()); }

private slots:
    void init()
    {
        begin();
        m_fixture.expect("--untrust", ExitCode::Ok);
        publish("2.0.0", update());
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
    }

    /// Who attacks in which way, and is refused, is a matter of the library's tests.
    void refusesByName_data()
    {
        const Rows<QString, QStringList, ExitCode, QStringList> row("attack", "words", "code", "said");
        row("rollback", "timestamp.version = 2; put(timestamp)", {"--check"}, ExitCode::NoSiteAnswered,
            {"tuf/: timestamp.json is refused: version 2 is older than what was seen, 3", "VCore --trust shows"});
        row("arbitrary package", "tamper('A-2.00.000.zip', lambda data: data + b'x')", {"--update"},
            ExitCode::FetchFailed, {"A-2.00.000 could not be fetched", "more bytes than are accepted"});
        const QString package = m_site.folder() + "/A-2.00.000.zip";
        row("medium", "pass", {"--install", m_site.folder() + "/repository.xml"}, ExitCode::Ok,
            {"Installed: Core 2.00.000."});
        row("strange medium", "del targets.targets['A-2.00.000.zip']; release()", {"--install", package},
            ExitCode::InstallIncomplete,
            {"no trusted metadata names it", "unsigned is installed with --unsigned all the same"});
        row("all the same", "del targets.targets['A-2.00.000.zip']; release()", {"--install", package, "--unsigned"},
            ExitCode::Ok, {"without regard to the pinned root", "VelmDev 0.00.001"});
    }
    void refusesByName()
    {
        const auto [attack, words, code, said] =
            cells<QString, QStringList, ExitCode, QStringList>("attack", "words", "code", "said");
        m_fixture.expect({"--trust", m_root}, ExitCode::Ok);
        const bool isInstall = words.first() == "--install";
        if (!isInstall || said.first().startsWith("Installed"))
            m_fixture.expect("--check", ExitCode::Ok);
        forge(attack);
        m_fixture.expect(words, code, said);
        servesA(code == ExitCode::Ok ? "2.00.000" : "1.00.000"); // what it had goes on
        if (isInstall)
            return;
        forge("heal()");
        m_fixture.expect("--update", ExitCode::Ok, {"Version 2.00.000 is ready"});
        servesA("2.00.000");
    }
};

QTEST_GUILESS_MAIN(tst_VCoreTrust)
#include "tst_VCoreTrust.moc"
