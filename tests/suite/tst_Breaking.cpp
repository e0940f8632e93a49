#include "HostFixture.h"

namespace {

const int Count = qEnvironmentVariable("NORVALE_COUNT", "2").toInt(); // runs that end in each of these ways

const QString Breaking = QStringLiteral("P25-1.00.000");

} // namespace

/// A suite of 50 plugins of which one breaks, in every step: the next start names it, and no other end of a run is
/// taken for its fault.
class tst_Breaking : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;
    QString m_suite;

private slots:
    void initTestCase()
    {
        qputenv("ASAN_OPTIONS", "handle_segv=0:handle_abort=0:detect_leaks=0"); // crashes are the system's
        qputenv("NORVALE_BREAK", "segv"); // how the library of createBreaking() does
        Variables plugins;
        for (int number = 10; number < 60; ++number)
            plugins[QString("P%1").arg(number)] = "auto enters:createPlugin";
        m_suite = m_fixture.makeSuite("Core", plugins, FAULTY_PLUGIN);
        m_fixture.useSuite(m_suite);
        QSettings host(QSettings::UserScope, "Varkel", "VCore");
        host.setValue("Plugins/HangSeconds", 3);
        host.setValue("Plugins/EndHung", true);
    }

    void namesWhatBroke_data()
    {
        const Rows<QString, QString> row("words", "failure");
        row("load segv", "enters:createBreaking", Breaking + " while it was loaded");
        row("start hang", "enters:createPlugin {\"start\":\"hang\"}", Breaking + " while it was started");
        row("stop fatal", "enters:createPlugin {\"stop\":\"fatal\"}", Breaking + " while it was stopped");
        row("call abort", "enters:createPlugin gives:Break {\"call\":\"abort\"}", Breaking + " while the suite ran");
        row("start throw", "enters:createPlugin {\"start\":\"throw\"}", ""); // which the framework catches
    }
    void namesWhatBroke()
    {
        const auto [words, failure] = cells<QString, QString>("words", "failure");
        writePlugin(m_suite, Breaking, "auto " + words, FAULTY_PLUGIN);
        if (words.contains("gives:")) {
            QVERIFY(m_fixture.serve());
            m_fixture.run("--call Break now");
            exitCodeOf(m_fixture.host());
        } else {
            const Ended broken = m_fixture.run("--start-only");
            const QRegularExpression hung("not ended for [3-9] s; the process is ended");
            QCOMPARE(broken.reasons.contains(hung), words.contains("hang"));
        }
        writePlugin(m_suite, Breaking, "auto enters:createPlugin", FAULTY_PLUGIN);
        const Ended next = m_fixture.run("--start-only");
        QCOMPARE(next.code, 0);
        QCOMPARE(failureIn(next.reasons), failure);
    }

    void blamesNobodyForAnotherEnd_data()
    {
        const Rows<bool, bool> row("isInterruptible", "isServing");
        row("interrupted", true, true);
        row("interrupted in its start", true, !Platform::hasUnixFiles()); // on Windows a console has to be up
        row("killed", false, true);
        row("hung up", false, true); // as at a log-out
    }
    void blamesNobodyForAnotherEnd()
    {
        const auto [isInterruptible, isServing] = cells<bool, bool>("isInterruptible", "isServing");
        for (int run = 0; run < Count; ++run) {
            QVERIFY(isInterruptible || m_fixture.serve());
            if (isInterruptible)
                m_fixture.startInterruptible();
            if (!isServing)
                QTest::qSleep(QRandomGenerator::global()->bounded(1, 150));
            QVERIFY(!isServing || m_fixture.run("--wait --call VCore connections").output.startsWith('['));
            QProcess& host = m_fixture.host();
            if (isInterruptible)
                Platform::interrupt(host);
            else if (qstrcmp(QTest::currentDataTag(), "killed") == 0)
                host.kill();
            else if (Platform::hasUnixFiles())
                QProcess::execute("kill", {"-HUP", QString::number(host.processId())});
            else
                m_fixture.quit();
            exitCodeOf(host);
            const QString list = m_fixture.run("--list").output;
            QVERIFY2(list.contains("P50") && !list.contains("Last failure"), qPrintable(list));
        }
    }

private:
    /// Which plugin the last run died of, and when, as VCore says it; empty when it says so of none.
    static QString failureIn(const QString& said)
    {
        static const QRegularExpression form("(P\\d\\d-1\\.00\\.000) [^\n]*( while (it was \\w+|the suite ran))");
        const QRegularExpressionMatch match = form.match(said);
        return match.captured(1) + match.captured(2);
    }
};

QTEST_GUILESS_MAIN(tst_Breaking)
#include "tst_Breaking.moc"
