#include "HostFixture.h"

#include <cmath>

namespace {

int s_count = 10; // ended runs that are not to be taken for a failure

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
        QMap<QString, QString> manifests;
        for (int number = 1; number <= Plugins; ++number) {
            const bool isInChain = number > Breaking && number <= ChainEnd;
            const QString text = "<m><plugin runtime_api_version='13' autoload='true'><start><library filename='it' "
                                 "function='%1'/></start><dependencies>%2</dependencies>%3</plugin></m>";
            const QString dependency = isInChain ? "<dependency>" + nameOf(number - 1) + "</dependency>" : QString();
            const bool isBreaking = number == Breaking;
            manifests[nameOf(number)] = text.arg(isBreaking ? "createBreaking" : "createPlugin", dependency,
                                                 isBreaking ? "<services><service>Break</service></services>" : "");
        }
        const QString suite = m_fixture.makeSuite("Core", manifests);
        m_fixture.useSuite(suite);
        for (int number = 1; number <= Plugins; ++number) {
            const QString library =
                QStringLiteral("%1/plugins/%2-1.00.000/%3").arg(suite, nameOf(number), Platform::library("it"));
            QVERIFY(QFile::copy(BREAKER_LIBRARY, library));
        }
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
            for (const char* kind : {"segv", "abort", "fatal", "throw", "loop"}) {
                const QByteArray broken = QByteArray(step) + ' ' + kind;
                row(broken.constData(), broken, state);
            }
        }
    }
    void namesWhatBroke()
    {
        QFETCH(QByteArray, broken);
        QFETCH(QString, state);
        const bool isThrown = broken.endsWith("throw"); // which the framework catches
        const QString said = brokenRun(broken);
        if (isThrown)
            QVERIFY2(said.contains("threw an exception: out of paper"), qPrintable(said));
        const Ended next = m_fixture.run(QStringList{"--start-only"});
        QCOMPARE(next.code, 0);
        QCOMPARE(blameIn(next.reasons), isThrown ? QString() : Broken + ' ' + state);
    }

    void leavesOutWhatBreaksTwice()
    {
        brokenRun("start segv");
        brokenRun("start segv");
        const Variables breaking{{"NORVALE_BREAK", "start segv"}};
        QVERIFY(QFile::remove(m_fixture.path("journal")));
        const Ended third = m_fixture.run({"--start-only"}, breaking);
        QCOMPARE(third.code, 0);
        QVERIFY2(third.reasons.contains("VCore --enable P25"), qPrintable(third.reasons));
        QCOMPARE(m_fixture.journal().size(), Plugins - (ChainEnd - Breaking + 1));
        QVERIFY(m_fixture.run(QStringList{"--list"}).output.contains("P26 -> P25"));
        QCOMPARE(m_fixture.run({"--enable", "P25"}).code, 0);
        QVERIFY(QFile::remove(m_fixture.path("journal")));
        const Ended fourth = m_fixture.run(QStringList{"--start-only"});
        QCOMPARE(fourth.code, 0);
        QCOMPARE(blameIn(fourth.reasons), QString());
        QCOMPARE(m_fixture.journal().size(), Plugins);
    }

    void findsWhatBreaks()
    {
        const Ended found = m_fixture.run({"--bisect"}, {{"NORVALE_BREAK", "start abort"}});
        QVERIFY2(found.output.contains("P25"), qPrintable(found.output + found.reasons));
        const int starts = found.reasons.count("VCore: start ");
        QVERIFY2(starts > 0, qPrintable(found.reasons));
        QVERIFY2(starts <= 2 * std::log2(Plugins) + 2, qPrintable(found.reasons));
    }

    void blamesNobodyForOtherEnds()
    {
        QStringList blames;
        for (int run = 0; run < s_count; ++run) {
            const QString blame = blameIn(endedRun(run % 5)); // of the run before
            if (!blame.isEmpty())
                blames << QStringLiteral("before %1: %2").arg(run).arg(blame);
        }
        QCOMPARE(blames, QStringList());
        QCOMPARE(blameIn(m_fixture.run(QStringList{"--start-only"}).reasons), QString());
    }

private:
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
        qputenv("NORVALE_BREAK", broken);
        const auto unset = qScopeGuard([] { qunsetenv("NORVALE_BREAK"); });
        const bool isCalled = broken.startsWith("call");
        QProcess host;
        const QString log = m_fixture.path("log");
        QFile::remove(log);
        start(host, QStringList{"--log", log} + (isCalled ? QStringList() : QStringList("--start-only")));
        QProcess client;
        if (isCalled)
            Platform::start(client, VCORE_PROGRAM, {"--wait", "--timeout", "60", "--call", "Break", "now"});
        if (broken.endsWith("loop")) {
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

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    const int at = arguments.indexOf("--count");
    if (at > 0) {
        s_count = arguments.value(at + 1).toInt();
        arguments.erase(arguments.begin() + at, arguments.begin() + qMin(at + 2, arguments.size()));
    }
    qputenv("ASAN_OPTIONS", "handle_segv=0:handle_abort=0:detect_leaks=0"); // crashes are the system's
    tst_Breaking test;
    return QTest::qExec(&test, arguments);
}

#include "tst_Breaking.moc"
