#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "install/cInstallMgr.h"

#include <ChildRun.h>
#include <Norvale/Corvane.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cLogCentral.h>
#include <PluginFolder.h>
#include <Rows.h>
#include <SettingsSandbox.h>

#include <cstdio>

/// A plugin is its name, its version, its feature, and perhaps what more its manifest says. Without any, there is
/// nothing.
static void install(const QString& folder, const QStringList& plugins)
{
    QString features;
    for (const QString& plugin : plugins) {
        const QStringList words = plugin.split(' ');
        features += QString("<feature name='%3'><plugins><plugin name='%1' version='%2'/></plugins></feature>")
                        .arg(words.at(0), words.at(1), words.at(2));
        writePlugin(folder, words.at(0) + "-" + cVersion(words.at(1)).toString(), "auto " + words.value(3),
                    PLAIN_PLUGIN);
        writeFile(folder + "/plugins/features.xml", ("<r>" + features + "</r>").toUtf8());
    }
}

/// Whole starts of an installation on disk, from `features.xml` to the stop of the last plugin. The managers live as
/// long as the process, so each row runs in a child process: this program again, called with the log file and the steps
/// to take. What happens is noted in one journal, which the child prints at its end. In which order plugins start, and
/// what else refuses a start, are matters of the plugin manager's and the host's tests.
class tst_Startup : public QObject
{
    Q_OBJECT

public slots:
    void note(const QString& text) { m_app->setProperty("journal", m_app->property("journal").toStringList() << text); }
    void onProgress(QString name, qint64 now, qint64 all) { note(name + QString(" %1/%2").arg(now).arg(all)); }
    void takeStep(const QString& step)
    {
        const QVector<const void*> managers{IPluginMgr::instance(), IServiceMgr::instance(), cInstallMgr::instance(),
                                            cConfigurationMgr::instance(), cUpdateMgr::instance()};
        if (step == "initialize")
            note(Corvane::initialize() ? "initialized" : "not initialized");
        if (step == "start")
            note(Corvane::startNormal() ? "started" : "not started");
        if (step == "outcome") {
            const cStartOutcome outcome = IPluginMgr::instance()->lastOutcome();
            note(QString::number(outcome.result) + " " + outcome.reasons.join(';').section('/', -1));
        }
        if (step == "stop")
            Corvane::stopNormal();
        if (step == "categories")
            Corvane::setLoadCategories({"x"});
        if (step == "follow")
            IConfigMgr::connectProgressSlot(this, SLOT(onProgress(QString, qint64, qint64)));
        if (step == "download")
            cUpdateMgr::instance()->onProgress("a.zip", 1, 2);
        if (step == "managers")
            note(QString("%1 managers").arg(5 - managers.count(nullptr)));
        if (step == "restart option")
            note(QSettings().value("ConfigMgr/RestartOption").toString());
    }

private slots:
    void starts_data()
    {
        const Rows<QStringList, QStringList, QString, QString> row("plugins", "steps", "journal", "logged");
        const QStringList whole{"initialize", "start", "stop"};
        // Though it stands in the load list twice, as every plugin does.
        row("a plugin that needs another one", {"A 1.0 Core", "A 0.9 VelmDev needs:B", "B 1.0 Core"}, whole,
            "initialized, start B, start A, started, stop A, stop B", "");
        row("no feature Core", {"A 1.0 Extra"},
            {"restart option", "initialize", "start", "restart option", "outcome", "stop"},
            "7, initialized, not started, 0, 3 the feature \"Core\" is not installed", "Core");
        row("nothing installed", {}, {"managers", "initialize", "managers", "follow", "download", "start", "outcome"},
            "0 managers, initialized, 5 managers, a.zip 1/2, not started, 3 the feature \"Core\" is not installed",
            "features.xml");
        const QStringList failing{"initialize", "start", "outcome"};
        row("a catalogue that cannot be read says nothing of Core", {"A 1.0 Core'></torn><x"}, failing,
            "initialized, not started, 2 features.xml: line 1, column 31: tag mismatch",
            "features.xml");
        row("two versions of a plugin", {"A 1.0 Core", "A 1.1 Extra"}, failing,
            "initialized, not started, 2 plugin \"A\" is installed in two versions: 1.00.000 by feature \"Core\", "
            "1.01.000 by feature \"Extra\"",
            "two versions");
        row("initialize again", {"A 1.0 Core"}, {"initialize", "initialize", "start", "initialize", "stop"},
            "initialized, initialized, start A, started, initialized, stop A", "initialize() was called again");
        row("nothing before initialize", {"A 1.0 Core"}, QStringList{"start", "stop", "categories"} + whole,
            "not started, initialized, start A, started, stop A", "setLoadCategories() needs initialize() first");
    }
    void starts()
    {
        const auto [plugins, steps, logged] = cells<QStringList, QStringList, QString>("plugins", "steps", "logged");
        SettingsSandbox sandbox;
        sandbox.setInstallDir(sandbox.path());
        install(sandbox.path(), plugins);
        const QStringList arguments{"child", sandbox.path() + "/log"};
        const Ended child = runToEnd(QCoreApplication::applicationFilePath(), arguments + steps, {});
        const QString log = readFile(sandbox.path() + "/log") + child.reasons;
        QTEST(child.output, "journal");
        QVERIFY2(log.contains(logged), qPrintable(log));
        QCOMPARE(child.code, 0);
    }

private:
    QObject* const m_app = QCoreApplication::instance();
};

static int takeSteps(const QStringList& words)
{
    tst_Startup test;
    cLogCentral::setLogFile(words.first());
    QSettings().setValue("ConfigMgr/RestartOption", 7);
    for (const QString& step : words.mid(1))
        test.takeStep(step);
    return std::fputs(qPrintable(QCoreApplication::instance()->property("journal").toStringList().join(", ")), stdout) <
           0;
}

int main(int argc, char** argv)
{
    return runTestOrChild<tst_Startup>(argc, argv, takeSteps);
}

#include "tst_Startup.moc"
