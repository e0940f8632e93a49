#include "ChildRun.h"
#include "PluginFolder.h"
#include "PublishedPlugins.h"
#include "Rows.h"
#include "SettingsSandbox.h"

#include "guard/cGuardFile.h"
#include "services/cServiceMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <cstdio>
#include <memory>

/// Runs of a suite, each a process of its own, that its plugin B breaks; C needs B, which needs A; D is loaded on
/// request. What each run knows of the one before is one text.
class tst_cGuard : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_sandbox.setInstallDir(m_sandbox.path());
        Corvane::initializeFolderOrFile();
        m_file = cGuardFile::pathFor(Corvane::velmiraFolderOrFile(Corvane::DataFolder),
                                     Corvane::velmiraFolderOrFile(Corvane::CoreFolder));
        const QString library = QString(FAULTY_DIR "/%1") + cPluginInstance::LibrarySuffix;
        for (const QString plugin : {"A sound auto", "B faulty auto needs:A", "C sound auto needs:B", "D faulty"}) {
            const QString name = plugin.section(' ', 0, 0) + "-1.00.000";
            writePlugin(m_sandbox.path(), name, plugin.section(' ', 2), library.arg(plugin.section(' ', 1, 1)));
        }
    }

    void init() { QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).removeRecursively(); }

    void tellsTheLastRun_data()
    {
        const Rows<QStringList, QStringList> row("runs", "told");
        const QString nothing = "nothing", start = "B start segv; start";
        row("none before", {"; start, stop", "; start, stop"}, {nothing, nothing});
        row("in each step", {"load segv; start", "B start abort; start", "B stop segv; start, stop", "; start"},
            {nothing, "B load unknown 1", "B start unknown 1", "B stop unknown 1"});
        row("an end in the midst", {"B start exit; start", "; start"}, {nothing, "B start unknown 1"});
        row("what the framework catches", {"B start throw; start, stop", "; start"}, {nothing, nothing});
        row("with and without a report", {"B start abort; reports, start", "B start abort; start", "; last"},
            {nothing, "B start SIGABRT 1 report", "B start unknown 2"});
        row("a service call",
            {"call abort; reports, start, call", "call abort; reports, start, call", "; start, stop", "; last"},
            {nothing, "B running SIGABRT 1 report", "B running SIGABRT 2 report", nothing});
        row("looking takes nothing", {start, "; last", "; last", "; start, stop", "; last"},
            {nothing, "B start unknown 1", "B start unknown 1", "B start unknown 1", nothing});
        row("in a row", {start, start, "; without B, start, stop", start, "; start, stop", start, "; last"},
            {nothing, "B start unknown 1", "B start unknown 2", nothing, "B start unknown 3", nothing,
             "B start unknown 1"});
        row("another plugin", {start, "B start D, D start segv; start", start, "; last"},
            {nothing, "B start unknown 1", "D start unknown 1", "B start unknown 1"});
        row("back from a plugin inside", {"B start D, B start segv; start", "; last"}, {nothing, "B start unknown 1"});
        row("not stopped", {"; start", "; last"}, {nothing, nothing});
        row("switched off", {"B start segv; off, start", start, "; off, start", "; last"},
            {nothing, nothing, nothing, "B start unknown 1"});
    }

    void tellsTheLastRun()
    {
        const auto [runs, told] = cells<QStringList, QStringList>("runs", "told");
        QStringList answers, loggedWrongly;
        for (const QString& run : runs) {
            const Ended ended = take(run);
            answers.append(last(ended));
            const bool isToLog = answers.last() != "nothing" && run.contains("start") && !run.contains("off");
            if (ended.reasons.contains("the last run ended") != isToLog)
                loggedWrongly.append(run);
        }
        QCOMPARE(answers, told);
        QCOMPARE(loggedWrongly, QStringList());
    }

    void tellsWhatHangs_data()
    {
        const Rows<QString, QString, QString> row("run", "line", "told");
        row("ended by the host's wish", "B start hang; seconds 1, end, start",
            "B-1.00.000 hangs: its start has not ended for 1 s; the process is ended", "B start hung 1");
        row("with a report", "B stop hang; seconds 1, end, reports, start, stop", "B-1.00.000 hangs: its stop",
            "B stop hung 1 report");
        row("goes on", "load slow; seconds 1, start, stop", "B-1.00.000 hangs no longer: the loading of its library",
            "nothing");
        row("inside another", "B start D, D start hang; seconds 1, end, start", "D-1.00.000 hangs: its start",
            "D start hung 1");
        row("a call", "call hang; seconds 1, end, start, call", "B-1.00.000 hangs: a call of its service",
            "B running hung 1");
        row("a call that goes on", "call slow; seconds 1, start, call", "B-1.00.000 hangs: a call of its service",
            "nothing");
        row("a call that waits for events", "call loop; seconds 1, start, call", "", "nothing");
        row("never", "B start slow; seconds 0, end, start, stop", "", "nothing");
    }

    void tellsWhatHangs()
    {
        const auto [run, line] = cells<QString, QString>("run", "line");
        const Ended ended = take(run);
        QVERIFY2(ended.reasons.contains(line.isEmpty() ? "started C" : line), qPrintable(ended.reasons));
        QCOMPARE(ended.reasons.contains(" hangs: "), !line.isEmpty());
        QTEST(last(take("; last")), "told");
    }

    void doesWithoutFile_data()
    {
        const Rows<QString> row("line");
        for (const char* damage : {"cut", "longer", "empty", "magic", "text without end", "no such step", "no plugin"})
            row(damage, "");
        row("a folder", "it is no file");
        row("no data folder", "a crash of this run will not be told");
    }

    /// What the file says after a crash is lost; the runs after that are as ever, or go on without one.
    void doesWithoutFile()
    {
        const QString damage = QTest::currentDataTag();
        QFETCH(QString, line);
        take("B start segv; start");
        QByteArray bytes = readFile(m_file);
        QCOMPARE(bytes.size(), int(sizeof(cGuardSlot)));
        auto* const slot = reinterpret_cast<cGuardSlot*>(bytes.data());
        if (damage == "magic")
            slot->magic[7] = 'x';
        else if (damage == "text without end")
            std::fill(std::begin(slot->plugin), std::end(slot->plugin), 'B');
        else if (damage == "no such step")
            slot->step = 5;
        else if (damage == "no plugin")
            slot->plugin[0] = '\0';
        else if (damage == "longer")
            bytes.append('x');
        else
            bytes.truncate(damage == "cut" ? bytes.size() - 1 : 0);
        writeFile(m_file, bytes);
        const QString folder = Corvane::velmiraFolderOrFile(Corvane::DataFolder);
        if (damage == "a folder") {
            QVERIFY(QFile::remove(m_file));
            QVERIFY(QDir().mkpath(m_file));
        } else if (damage == "no data folder") {
            QVERIFY(QDir(folder).removeRecursively());
            writeFile(folder, "");
        }
        const Ended ended = take("; start, stop");
        QCOMPARE(last(ended), QString("nothing"));
        QVERIFY(ended.reasons.contains("started C"));
        QVERIFY(ended.reasons.contains(line));
        QCOMPARE(ended.reasons.contains("will not be told"), !line.isEmpty());
        take("B start segv; start");
        QCOMPARE(last(take("; last")), QString(line.isEmpty() ? "B start unknown 1" : "nothing"));
        QFile::remove(folder);
    }

    /// While a process guards, others neither take its step for that of a run that has ended nor write over it.
    void leavesOthersAlone()
    {
        QProcess guarding;
        qputenv("FAULTS", "B start hang");
        Platform::start(guarding, QCoreApplication::applicationFilePath(), {"child", "start"});
        QTRY_VERIFY(readFile(m_file).contains("B-1.00.000"));
        QCOMPARE(last(take("; last")), QString("nothing"));
        const Ended other = take("; start, stop");
        QCOMPARE(last(other), QString("nothing"));
        QVERIFY(other.reasons.contains("another process has it"));
        guarding.kill();
        QCOMPARE(exitCodeOf(guarding), -1);
        QCOMPARE(last(take("; last")), QString("B start unknown 1"));
    }

    /// A step that the disk had before a power cut may have ended since.
    void knowsTheStartOfTheMachine()
    {
        take("B start segv; start");
        QByteArray bytes = readFile(m_file);
        auto* const slot = reinterpret_cast<cGuardSlot*>(bytes.data());
        slot->boot -= 120000;
        writeFile(m_file, bytes);
        QCOMPARE(last(take("; last")), QString("nothing"));
        slot->end = cGuardSlot::Crashed;
        writeFile(m_file, bytes);
        QVERIFY(last(take("; last")).startsWith("B start "));
        take("; start, stop");
        QCOMPARE(last(take("; last")), QString("nothing"));
    }

private:
    /// "FAULTS; STEPS" of a child, which takes the steps as runChild() says. The reasons are the log.
    Ended take(const QString& run) const
    {
        const QString log = m_sandbox.path() + "/log";
        QFile::remove(log);
        Ended ended = runToEnd(QCoreApplication::applicationFilePath(), {"child", run.section("; ", 1)},
                               {{"FAULTS", run.section("; ", 0, 0)}, {"LOG", log}});
        ended.reasons = QString::fromUtf8(readFile(log));
        return ended;
    }

    static QString last(const Ended& run) { return run.output.section('\n', 0, 0).trimmed(); }

    SettingsSandbox m_sandbox;
    QString m_file;
};

static QString textOf(const cPluginFailure& failure)
{
    const char* const steps[] = {"none", "load", "start", "stop", "running"};
    if (failure.step == cPluginFailure::None)
        return "nothing";
    const QString end = failure.end == cPluginFailure::Crashed ? failure.cause
                        : failure.end == cPluginFailure::Hung  ? "hung"
                                                               : "unknown";
    return QString("%1 %2 %3 %4").arg(failure.plugin, steps[failure.step], end).arg(failure.inARow) +
           (QFileInfo(failure.report).isFile() ? " report" : "");
}

static int runChild(const QStringList& words)
{
    cLogCentral::setLogFile(qEnvironmentVariable("LOG"));
    Corvane::initializeFolderOrFile();
    cServiceMgr services;
    cPluginMgr manager;
    cPublishedPlugins plugins(manager);
    plugins.names = QStringList{"A", "B", "C", "D"};
    manager.setServiceMgr(&services);
    QCoreApplication::instance()->setProperty("pluginMgr", QVariant::fromValue<QObject*>(&manager));
    QCoreApplication::instance()->setProperty("serviceMgr", QVariant::fromValue<QObject*>(&services));
    cGuardOptions options;
    const auto say = [](const QString& text) {
        std::puts(qPrintable(text));
        std::fflush(stdout);
    };
    for (const QString& step : words.first().split(", ")) {
        options.isOn = options.isOn && step != "off";
        options.writesReports = options.writesReports || step == "reports";
        options.endsHungProcess = options.endsHungProcess || step == "end";
        if (step.startsWith("seconds "))
            options.hangSeconds = step.section(' ', 1).toInt();
        manager.setGuard(options);
        if (step.startsWith("without "))
            manager.leaveOut({step.section(' ', 1)});
        else if (step == "last" || step == "start")
            say(textOf(manager.lastFailure()));
        if (step == "start" && !manager.StartNormal())
            return 97;
        else if (step == "start")
            say(textOf(manager.lastFailure()));
        else if (step == "stop")
            manager.StopNormal();
        else if (step == "call")
            static_cast<IServiceMgr&>(services).invoke("faulty", "call");
    }
    cLogCentral::setLogFile(QString());
    std::_Exit(0); // as a process that ends without having stopped its suite
}

TEST_OR_CHILD_MAIN(tst_cGuard, runChild)
#include "tst_cGuard.moc"
