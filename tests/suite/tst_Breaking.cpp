#include "HostFixture.h"

namespace {

const int Count = qEnvironmentVariable("NORVALE_COUNT", "10").toInt(); // ended runs that are no failure

constexpr int Plugins = 50;
constexpr int Breaking = 25; // the next ones depend on it in a chain
constexpr int ChainEnd = 30;
const QString Broken = QStringLiteral("P25-1.00.000");

QString nameOf(int number)
{
    return QStringLiteral("P%1").arg(number, 2, 10, QLatin1Char('0'));
}

} // namespace

/// A suite of 50 plugins of which one breaks, in every step and in every way: the next start names it, and no other end
/// of a run is taken for its fault.
class tst_Breaking : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

private slots:
    void initTestCase()
    {
        qputenv("ASAN_OPTIONS", "handle_segv=0:handle_abort=0:detect_leaks=0"); // crashes are the system's
        Variables plugins;
        for (int number = 1; number <= Plugins; ++number)
            plugins[nameOf(number)] = wordsOf(number);
        m_suite = m_fixture.makeSuite("Core", plugins, FAULTY_PLUGIN);
        m_fixture.useSuite(m_suite);
        QSettings(QSettings::UserScope, "Varkel", "VCore").setValue("Plugins/HangSeconds", 1);
    }

    void namesWhatBroke_data()
    {
        const Rows<QByteArray, QString> row("broken", "state");
        const std::pair<const char*, const char*> steps[] = {{"load", "it was loaded"},
                                                             {"start", "it was started"},
                                                             {"stop", "it was stopped"},
                                                             {"call", "the suite ran"}};
        for (const auto& [step, state] : steps) {
            for (const char* kind : {"segv", "abort", "fatal", "throw", "hang"}) {
                const QByteArray broken = QByteArray(step) + ' ' + kind;
                row(broken.constData(), broken, state);
            }
        }
    }
    void namesWhatBroke()
    {
        const auto [broken, state] = cells<QByteArray, QString>("broken", "state");
        const bool isThrown = broken.endsWith("throw"); // which the framework catches
        const QString said = brokenRun(broken);
        if (isThrown)
            QVERIFY2(said.contains("threw an exception: out of paper"), qPrintable(said));
        const Ended next = m_fixture.run(QStringList{"--start-only"});
        QCOMPARE(next.code, 0);
        QCOMPARE(blameIn(next.reasons), isThrown ? QString() : Broken + ' ' + state);
    }

    void blamesNobodyForOtherEnds()
    {
        QStringList blames;
        for (int run = 0; run < Count; ++run) {
            const QString blame = blameIn(endedRun(run % 5)); // of the run before
            if (!blame.isEmpty())
                blames << QStringLiteral("before %1: %2").arg(run).arg(blame);
        }
        QCOMPARE(blames, QStringList());
        QCOMPARE(blameIn(m_fixture.run(QStringList{"--start-only"}).reasons), QString());
    }

private:
    QString m_suite;

    /// @p broken is a step and how the plugin breaks in it.
    static QString wordsOf(int number, const QString& broken = "start none")
    {
        const bool isInChain = number > Breaking && number <= ChainEnd;
        return QString("auto enters:%1 %2 %3 {\"%4\":\"%5\"}")
            .arg(broken.startsWith("load") ? "createBreaking" : "createPlugin",
                 isInChain ? "needs:" + nameOf(number - 1) : "", broken.startsWith("call") ? "gives:Break" : "",
                 broken.section(' ', 0, 0), broken.section(' ', 1));
    }

    /// Which plugin a start says the last run died of, and when; empty when it says so of none.
    static QString blameIn(const QString& said)
    {
        static const QRegularExpression form("(P\\d\\d-1\\.00\\.000) [^\n]* while (it was \\w+|the suite ran)");
        const QRegularExpressionMatch match = form.match(said);
        return match.hasMatch() ? match.captured(1) + ' ' + match.captured(2) : QString();
    }

    /// Runs the suite until it breaks, or hangs and is told of and killed. @return its log.
    QString brokenRun(const QByteArray& broken)
    {
        writePlugin(m_suite, Broken, wordsOf(Breaking, broken), FAULTY_PLUGIN);
        qputenv("NORVALE_BREAK", broken.startsWith("load") ? broken.mid(5) : "");
        const auto mend = qScopeGuard([&] { writePlugin(m_suite, Broken, wordsOf(Breaking), FAULTY_PLUGIN); });
        const bool isCalled = broken.startsWith("call");
        QProcess host;
        const QString log = m_fixture.path("log");
        QFile::remove(log);
        start(host, QStringList{"--log", log} + (isCalled ? QStringList() : QStringList("--start-only")));
        QProcess client;
        if (isCalled)
            Platform::start(client, VCORE_PROGRAM, {"--wait", "--timeout", "60", "--call", "Break", "now"});
        if (broken.endsWith("hang")) {
            const QDeadlineTimer deadline(30000);
            while (!readFile(log).contains("P25-1.00.000 hangs") && !deadline.hasExpired())
                QTest::qSleep(20);
            host.kill();
        }
        client.waitForFinished(60000);
        if (broken == "call throw")
            m_fixture.run({"--call", "VCore", "quit"});
        exitCodeOf(host);
        return QString::fromUtf8(readFile(log));
    }

    /// Runs the suite until it ends in one of the ways that are no plugin's fault. @return what it said.
    QString endedRun(int way)
    {
        QProcess host;
        host.setProcessChannelMode(QProcess::MergedChannels);
        if (way == 0)
            start(host, {"--start-only"});
        else if (way == 1 || way == 4)
            Platform::startInterruptible(host, VCORE_PROGRAM, {});
        else
            start(host, {});
        if (way == 4 && Platform::hasUnixFiles())                       // on Windows a console has to be up
            QTest::qSleep(QRandomGenerator::global()->bounded(1, 150)); // in the middle of the start
        else if (way != 0)
            m_fixture.run({"--wait", "--timeout", "60", "--call", "VCore", "connections"});
        if (way == 1 || way == 4)
            Platform::interrupt(host);
        else if (way == 2)
            host.kill();
        else if (way == 3 && Platform::hasUnixFiles())
            QProcess::execute("kill", {"-HUP", QString::number(host.processId())}); // as at a log-out
        else if (way == 3)
            m_fixture.run({"--call", "VCore", "quit"});
        exitCodeOf(host);
        return Platform::consoleText(host.readAll());
    }

    static void start(QProcess& host, const QStringList& arguments)
    {
        host.setProcessChannelMode(QProcess::MergedChannels);
        Platform::start(host, VCORE_PROGRAM, arguments);
    }
};

QTEST_GUILESS_MAIN(tst_Breaking)
#include "tst_Breaking.moc"
