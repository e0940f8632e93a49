#include "HostFixture.h"

class tst_VCoreRun : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

private slots:
    void init()
    {
        m_fixture.useSuite(VCORE_TEST_SUITE);
        qunsetenv("VCORE_TEST_HANG");
        qunsetenv("VCORE_TEST_GO_ON");
    }

    void endsWithTheCodeOf_data()
    {
        const Rows<QString, ExitCode, QString, QString> row("words", "code", "said", "suite");
        const QString built = VCORE_TEST_SUITE;
        row("colour that is none", "--color red", ExitCode::Usage, "\"red\" is none of auto, always, never", built);
        row("with colours", "--color always --list", ExitCode::Ok, "\x1b[1mPlugins\x1b[0m", built);
        row("stray word", "nonsense", ExitCode::Usage, "\"nonsense\" is not understood\n", built);
        row("two commands", "--list --send {}", ExitCode::Usage, "exclude each other", built);
        row("another command's option", "--list --wait", ExitCode::Usage, "--wait does not go with --list", built);
        row("call without a method", "--call Text", ExitCode::Usage, "at least 2", built);
        row("time limit that is none", "--timeout soon --send {}", ExitCode::Usage, "--timeout", built);
        row("wait in vain", "--wait --timeout 0.1 --send {}", ExitCode::NoHost, "VCore is not running for ", built);
        row("log in no folder", "--log /no/such/folder/x", ExitCode::FileFailed, "/no/such/folder/x", built);
        row("trace in no folder", "--start-only --trace /no/such/folder/y", ExitCode::FileFailed, "/no/such/folder/y",
            built);
        row("other interface", "", ExitCode::StartFailed, "12",
            m_fixture.makeSuite("Core", {{"A", "<m><plugin runtime_api_version='12'/></m>"}}));
        row("circle", "", ExitCode::Fatal, "Cannot start under this circumstances.",
            m_fixture.makeSuite("Core", {{"A", "needs:B"}, {"B", "needs:A"}}));
        row("list with a faulty plugin", "--list", ExitCode::PluginFailed,
            "error: 1 plugin should run and has failed; the column \"reason\" tells why",
            m_fixture.makeSuite("Core", {{"Broken", "<m><plugin"}, {"Fine", ""}}));
    }
    void endsWithTheCodeOf()
    {
        const auto [words, code, said, suite] =
            cells<QString, ExitCode, QString, QString>("words", "code", "said", "suite");
        m_fixture.useSuite(suite);
        m_fixture.expect(words, code, {said});
    }

    void startsTracesAndStopsInOrder()
    {
        const QString trace = m_fixture.path("trace.json");
        QVERIFY(m_fixture.serve({"--categories", "ui,none", "--trace", trace, "--log", m_fixture.path("log")}));
        QCOMPARE(m_fixture.quit(), 0);
        QCOMPARE(m_fixture.journal(), QStringList({"start Base", "start Later", "stop Later", "stop Base"}));
        QVERIFY(QFile::exists(m_fixture.path("log")));

        QStringList names;
        for (const QJsonValue& span : HostFixture::spansOf(trace)) {
            QCOMPARE(span["ph"].toString(), QString("X"));
            QVERIFY(span["args"]["ok"].toBool());
            names.append(span["name"].toString());
        }
        for (const char* name : {"read manifest Base", "read manifest OnDemand", "load library Base", "start Later"})
            QCOMPARE(names.count(name), 1);
        QCOMPARE(names.mid(names.indexOf("stop the suite")),
                 QStringList({"stop the suite", "stop Later", "stop Base"}));
    }

    void listsWhatIsInstalled()
    {
        const QString json = m_fixture.run("--list --json").output;
        for (const char* part :
             {R"("running":false)", R"("name":"Core","plugins":["Base-1.00.000")",
              R"("autoload":false,"category":"ui","dependencies":["Base"],"failed":false,"folder":)",
              R"("name":"Later","order":2,"reason":"","services":["Later"],"state":"ordered","version":"2.01.000")"})
            QVERIFY2(json.contains(part), qPrintable(json));
        const QString table = m_fixture.run("--list").output;
        for (const char* line : {"Later +2\\.01\\.000 +ui +no +ordered +Base +Later +-",
                                 "Base +1\\.00\\.000 +- +yes +ordered +- +Text +-"})
            QVERIFY2(table.contains(QRegularExpression(QString("\n%1\n").arg(line))), qPrintable(table));
    }

    void endsAfterSignals_data()
    {
        const Rows<QByteArray, ExitCode> row("variable", "code");
        row("while it serves", "", ExitCode::Ok);
        // A plugin that serves events while it starts also serves the signal, when there is no loop yet to be ended.
        row("while a plugin starts", "VCORE_TEST_GO_ON", ExitCode::Ok);
        row("the second while a plugin hangs in its stop", "VCORE_TEST_HANG", ExitCode::HardStop);
    }
    void endsAfterSignals()
    {
        const auto [variable, code] = cells<QByteArray, ExitCode>("variable", "code");
        QFile goOn(m_fixture.path("goOn"));
        if (!variable.isEmpty())
            qputenv(variable, QFile::encodeName(goOn.fileName()));
        m_fixture.startInterruptible();
        if (variable == "VCORE_TEST_GO_ON") {
            QTRY_VERIFY_WITH_TIMEOUT(m_fixture.journal().contains("start Base"), 10000);
            Platform::interrupt(m_fixture.host());
            QTest::qWait(100); // to be served before the start goes on; if it is not, the test proves less
            QVERIFY(goOn.open(QIODevice::WriteOnly));
        } else {
            QVERIFY(m_fixture.isServing());
            Platform::interrupt(m_fixture.host());
        }
        if (code == ExitCode::HardStop) {
            QTRY_VERIFY_WITH_TIMEOUT(m_fixture.journal().contains("stop Base"), 10000);
            Platform::interrupt(m_fixture.host());
        }
        QCOMPARE(exitCodeOf(m_fixture.host()), int(code));
        QCOMPARE(m_fixture.journal(), QStringList({"start Base", "stop Base"}));
    }

    void tellsOnATerminalHowItIsStopped()
    {
        QProcess terminal;
        if (!Platform::startOnTerminal(terminal, VCORE_PROGRAM, {"--run"}))
            QSKIP("a terminal is needed");
        m_fixture.expect("--wait --call VCore quit", ExitCode::Ok);
        QCOMPARE(exitCodeOf(terminal), 0);
        const QString drawn =
            Platform::drawnText(terminal.readAllStandardOutput()).remove(QRegularExpression("[\r\n]"));
        QVERIFY2(drawn.contains(": 1 of 3 plugins started. Ctrl+C stops it"), qPrintable(drawn));
    }

    void coloursATerminalThatHasColours_data()
    {
        const Rows<QByteArray, QByteArray, QString> row("terminal", "noColor", "heading");
        row("a terminal", "xterm", "", "\x1b[1mPlugins\x1b[0m\r\n");
        row("one without colours", "dumb", "", "\nPlugins\r\n");
        row("whose user wants none", "xterm", "1", "\nPlugins\r\n");
    }
    void coloursATerminalThatHasColours()
    {
        const auto [terminal, noColor, heading] =
            cells<QByteArray, QByteArray, QString>("terminal", "noColor", "heading");
        if (!Platform::hasUnixFiles())
            QSKIP("a console shows no sequences");
        qputenv("TERM", terminal);
        qputenv("NO_COLOR", noColor);
        QProcess list;
        QVERIFY(Platform::startOnTerminal(list, VCORE_PROGRAM, {"--list"}));
        QCOMPARE(exitCodeOf(list), 0);
        const QString drawn = Platform::drawnText(list.readAllStandardOutput());
        QVERIFY2(drawn.contains(heading), qPrintable(drawn));
    }

    void onlyADeadHostGivesWay()
    {
        QVERIFY(m_fixture.serve());
        m_fixture.expect("", ExitCode::HostRunning, {QString::number(m_fixture.host().processId())});
        m_fixture.host().kill();
        QCOMPARE(exitCodeOf(m_fixture.host()), -1);
        m_fixture.expect("--send {}", ExitCode::NoHost);
        QVERIFY(m_fixture.serve());
        QCOMPARE(m_fixture.quit(), 0);
        // One that was killed before it had written who it is leaves an empty lock.
        writeFile(cHostAddress::ofInstallation(VCORE_TEST_SUITE).lockPath(), "");
        QVERIFY(m_fixture.serve());
        QCOMPARE(m_fixture.quit(), 0);

        const QString suite(VCORE_TEST_SUITE);
        QCOMPARE(cHostAddress::ofInstallation(suite).lockPath() ==
                     cHostAddress::ofInstallation(suite.toUpper()).lockPath(),
                 !Platform::hasUnixFiles());
    }

    void answersAClientThatWaitedForIt()
    {
        QProcess client;
        Platform::start(client, VCORE_PROGRAM, {"--wait", "--call", "OnDemand", "name"});
        QVERIFY(!client.waitForFinished(200)); // without a host it waits on
        QVERIFY(m_fixture.serve());
        QCOMPARE(exitCodeOf(client), 0);
        QCOMPARE(client.readAllStandardOutput().trimmed(), QByteArray("OnDemand"));
        QCOMPARE(m_fixture.quit(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_VCoreRun)
#include "tst_VCoreRun.moc"
