#include <ChildRun.h>
#include <Norvale/Corvane.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/cLogCentral.h>
#include <Norvale/cVersion.h>
#include <PluginFolder.h>
#include <Rows.h>
#include <SettingsSandbox.h>

#include <QtCore/QSettings>

#include <cstdio>

/// A plugin is its name, its version, its feature, and perhaps what more its manifest says.
static void install(const QString& folder, const QStringList& plugins)
{
    QString features;
    for (const QString& plugin : plugins) {
        const QStringList words = plugin.split(' ');
        features += QString("<feature name='%3'><plugins><plugin name='%1' version='%2'/></plugins></feature>")
                        .arg(words.at(0), words.at(1), words.at(2));
        writePlugin(folder, words.at(0) + "-" + cVersion(words.at(1)).toString(), "auto " + words.value(3),
                    PLAIN_PLUGIN);
    }
    writeFile(folder + "/plugins/features.xml", ("<r>" + features + "</r>").toUtf8());
}

/// Whole starts of an installation on disk, from `features.xml` to the stop of the last plugin. The managers live as
/// long as the process, so each row runs in a child process: this program again, called with the log file and the steps
/// to take. What happens is noted in one journal, which the child prints at its end. In which order plugins start, and
/// what else refuses a start, are matters of the plugin manager's and the host's tests.
class tst_Startup : public QObject
{
    Q_OBJECT

private slots:
    void starts_data()
    {
        const Rows<QStringList, QString, QString, QStringList> row("plugins", "steps", "journal", "logged");
        // The developed version counts, and is started once, though it stands in the load list twice, as every plugin.
        row("what comes too early, and again", {"A 1.0 Core", "A 0.9 VelmDev needs:B", "B 1.0 Core"},
            "start, stop, categories, initialize, initialize, start, initialize, stop",
            "not started, initialized, initialized, start B, start A, started, initialized, stop A, stop B",
            {"setLoadCategories() needs initialize() first", "initialize() was called again"});
        const QString failing = "restart option, initialize, start, restart option, outcome, stop";
        row("no feature Core", {"A 1.0 Extra"}, failing,
            "7, initialized, not started, 0, 3 the feature \"Core\" is not installed", {"Core"});
        row("a catalogue that cannot be read says nothing of Core", {"A 1.0 Core'></torn><x"}, failing,
            "7, initialized, not started, 7, 2 features.xml: line 1, column 31: tag mismatch", {"features.xml"});
        row("two versions of a plugin", {"A 1.0 Core", "A 1.1 Extra"}, failing,
            "7, initialized, not started, 7, 2 plugin \"A\" is installed in two versions: 1.00.000 by feature "
            "\"Core\", 1.01.000 by feature \"Extra\"",
            {"two versions"});
    }
    void starts()
    {
        const auto [plugins, steps, logged] = cells<QStringList, QString, QStringList>("plugins", "steps", "logged");
        SettingsSandbox sandbox;
        sandbox.setInstallDir(sandbox.path());
        install(sandbox.path(), plugins);
        const QString file = sandbox.path() + "/log";
        const Ended child = runToEnd(QCoreApplication::applicationFilePath(), {"child", file, steps}, {});
        const QString log = readFile(file) + child.reasons;
        QTEST(child.output, "journal");
        for (const QString& line : logged)
            QVERIFY2(log.contains(line), qPrintable(log));
        QCOMPARE(child.code, 0);
    }
};

/// What the plugins find as a property of the application object, and write in, too.
class cJournal : public QObject
{
    Q_OBJECT

public:
    QStringList texts;

public slots:
    void note(const QString& text) { texts.append(text); }
    void act(const QString&) {}
};

static int takeSteps(const QStringList& words)
{
    cLogCentral::setLogFile(words.first());
    QSettings().setValue("ConfigMgr/RestartOption", 7);
    cJournal journal;
    QCoreApplication::instance()->setProperty("suite", QVariant::fromValue<QObject*>(&journal));
    const auto note = [&](const QString& text) { journal.note(text); };
    for (const QString& step : words.last().split(", ")) {
        if (step == "initialize")
            note(Corvane::initialize() ? "initialized" : "not initialized");
        if (step == "start")
            note(Corvane::startNormal() ? "started" : "not started");
        if (step == "stop")
            Corvane::stopNormal();
        if (step == "categories")
            Corvane::setLoadCategories({"x"});
        if (step == "restart option")
            note(QSettings().value("ConfigMgr/RestartOption").toString());
        if (step != "outcome")
            continue;
        const cStartOutcome outcome = IPluginMgr::instance()->lastOutcome();
        note(QString::number(outcome.result) + " " + outcome.reasons.join(';').section('/', -1));
    }
    return std::fputs(qPrintable(journal.texts.join(", ")), stdout) < 0;
}

TEST_OR_CHILD_MAIN(tst_Startup, takeSteps)
#include "tst_Startup.moc"
