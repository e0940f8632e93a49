#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "install/cInstallMgr.h"
#include "plugins/LibrarySuffix.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cLogCentral.h>
#include <SettingsSandbox.h>

#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtTest/QtTest>

#include <cstdio>

/// Whole starts of an installation on disk, from `features.xml` to the stop of the last plugin. The managers live as
/// long as the process, so each row runs in a child process: this program again, called with the log file and the steps
/// to take. What happens is noted in one journal, which the child prints at its end.
class tst_Startup : public QObject
{
    Q_OBJECT

private slots:
    void starts_data();
    void starts();
    void endsTheProcessWhenNothingCanBeOrdered();

private:
    struct Outcome
    {
        QStringList journal;
        QString log;
        bool hasCrashed;
        int exitCode;
    };
    Outcome run(const QStringList& plugins, const QStringList& steps);
    static void install(const QString& folder, const QStringList& plugins);

    SettingsSandbox m_sandbox;
};

static void note(const QString& text)
{
    QCoreApplication* application = QCoreApplication::instance();
    application->setProperty("journal", application->property("journal").toStringList() << text);
}

/// Notes what reaches it in the child.
class cWitness : public QObject
{
    Q_OBJECT

public slots:
    void LoadPluginCategoryCompleted(QString category) { note("completed " + category); }
    void onProgress(QString name, qint64 received, qint64 total)
    {
        note(QString("progress %1 %2 of %3").arg(name).arg(received).arg(total));
    }
};

static void noteResult(const QString& step, bool isTrue)
{
    note(step + (isTrue ? " true" : " false"));
}

static void noteManagers()
{
    const bool isAny = IPluginMgr::instance() || IServiceMgr::instance() || cConfigurationMgr::instance() ||
                       cInstallMgr::instance() || cUpdateMgr::instance();
    const bool areAll = IPluginMgr::instance() && IServiceMgr::instance() && cConfigurationMgr::instance() &&
                        cInstallMgr::instance() && cUpdateMgr::instance();
    note(areAll ? "all managers" : isAny ? "some managers" : "no manager");
}

static void takeStep(const QString& step, cWitness& witness)
{
    if (step == "initialize")
        noteResult(step, Corvane::initialize());
    else if (step == "start")
        noteResult(step, Corvane::startNormal());
    else if (step == "stop")
        Corvane::stopNormal();
    else if (step.startsWith("categories "))
        Corvane::setLoadCategories(step.section(' ', 1).split(','));
    else if (step == "listen")
        IServiceMgr::instance()->addListener("PluginMgrEvents", &witness, QString());
    else if (step == "follow")
        IConfigMgr::connectProgressSlot(&witness, SLOT(onProgress(QString, qint64, qint64)));
    else if (step == "download")
        cUpdateMgr::instance()->onProgress("a.zip", 1, 2);
    else if (step == "managers")
        noteManagers();
    else if (step == "restart option")
        note(QString("restart option %1").arg(QSettings().value("ConfigMgr/RestartOption").toInt()));
    else
        qFatal("no such step");
}

static int runChild(const QStringList& arguments)
{
    QCoreApplication::setOrganizationName("NorvaleTests");
    QCoreApplication::setApplicationName("Fixture");
    cLogCentral::setLogFile(arguments.at(1));
    QSettings().setValue("ConfigMgr/RestartOption", 7);
    cWitness witness;
    for (const QString& step : arguments.mid(2))
        takeStep(step, witness);
    const QByteArray journal = QCoreApplication::instance()->property("journal").toStringList().join('\n').toUtf8();
    std::fwrite(journal.constData(), 1, size_t(journal.size()), stdout);
    return 0;
}

static void writeFile(const QString& path, const QByteArray& bytes)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

/// A plugin is given as its name and version, then "key=value" for attributes of the manifest, and "in" (its feature,
/// "Core" by default), "needs", "serves" and "fails".
void tst_Startup::install(const QString& folder, const QStringList& plugins)
{
    QByteArray features = "<repository name='main' version='1.0'>";
    for (const QString& text : plugins) {
        const QString name = text.section(' ', 0, 0);
        const QString version = text.section(' ', 1, 1);
        QMap<QString, QString> facts{{"in", "Core"}, {"autoload", "true"}, {"runtime_api_version", "13"}};
        for (const QString& fact : text.section(' ', 2).split(' ', Qt::SkipEmptyParts))
            facts.insert(fact.section('=', 0, 0), fact.section('=', 1));
        features += QString("<feature name='%1'><plugins><plugin name='%2' version='%3'/></plugins></feature>")
                        .arg(facts.value("in"), name, version)
                        .toUtf8();

        QString manifest = "<manifest><plugin";
        for (const char* key : {"autoload", "runtime_api_version", "load_category"})
            manifest += QString(" %1='%2'").arg(key, facts.value(key));
        manifest += "><start><library filename='the_plugin' function='create'/></start><dependencies><dependency>" +
                    facts.value("needs") + "</dependency></dependencies>";
        if (facts.contains("serves"))
            manifest += "<services><service>" + facts.value("serves") + "</service></services>";
        const QString home = QString("%1/plugins/%2-%3").arg(folder, name, cVersion(version).toString());
        writeFile(home + "/Manifest.xml", (manifest + "</plugin></manifest>").toUtf8());
        const char* library = facts.contains("fails") ? FAILING_PLUGIN : PLAIN_PLUGIN;
        QVERIFY(QFile::copy(library, home + "/the_plugin" + LibrarySuffix));
    }
    writeFile(folder + "/plugins/features.xml", features + "</repository>");
}

tst_Startup::Outcome tst_Startup::run(const QStringList& plugins, const QStringList& steps)
{
    QTemporaryDir folder;
    m_sandbox.setInstallDir(folder.path());
    if (!plugins.isEmpty())
        install(folder.path(), plugins);
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), QStringList(folder.filePath("log")) + steps);
    if (!child.waitForFinished())
        return {{"did not end"}, QString(), true, 0};
    QFile log(folder.filePath("log"));
    const QString lines = log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    return {QString::fromUtf8(child.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts),
            lines + QString::fromUtf8(child.readAllStandardError()), child.exitStatus() == QProcess::CrashExit,
            child.exitCode()};
}

void tst_Startup::starts_data()
{
    QTest::addColumn<QStringList>("plugins");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("journal");
    QTest::addColumn<QString>("logged"); // empty: nothing in particular
    const auto row = [](const char* name, const QStringList& plugins, const QStringList& steps,
                        const QStringList& journal,
                        const char* logged = "") { QTest::newRow(name) << plugins << steps << journal << logged; };
    const QStringList whole{"initialize", "start", "stop"};

    row("needed plugins first, stopped in reverse", {"A 1.0 needs=B", "B 2.1", "C 1.0"}, whole,
        {"initialize true", "start B", "start A", "start C", "start true", "stop C", "stop A", "stop B"});
    row("settings first, then categories, then autoload",
        {"Auto 1.0", "Late 1.0 load_category=late autoload=no", "Soon 1.0 load_category=soon autoload=no",
         "ZentraSettings 1.0 autoload=no", "Idle 1.0 load_category=idle autoload=no"},
        {"initialize", "listen", "categories soon,none,late", "start", "stop"},
        {"initialize true", "start ZentraSettings", "start Soon", "completed soon", "completed none", "start Late",
         "completed late", "start Auto", "start true", "stop Auto", "stop Late", "stop Soon", "stop ZentraSettings"});
    row("development plugins replace installed ones", {"A 1.0", "A 0.9 in=VelmDev needs=B", "B 1.0"}, whole,
        {"initialize true", "start B", "start A", "start true", "stop A", "stop B"});
    // A stands in the load list twice, as every plugin does once the installed set has been published twice; it is
    // tried again for each entry, and for B each time.
    row("a failing plugin takes along what needs it", {"A 1.0 fails=yes", "B 1.0 needs=A", "C 1.0"}, whole,
        {"initialize true", "start A", "start A", "start C", "start A", "start A", "start true", "stop C"}, "A");
    row("no feature Core", {"A 1.0 in=Extra"}, {"initialize", "restart option", "start", "restart option", "stop"},
        {"initialize true", "restart option 7", "start false", "restart option 0"}, "Core");
    row("nothing installed", {}, whole, {"initialize true", "start false"}, "features.xml");
    row("another API version", {"A 1.0", "B 1.0 runtime_api_version=12"}, whole, {"initialize true", "start false"},
        "12");
    row("a service of two plugins", {"A 1.0 serves=X", "B 1.0 serves=X"}, whole, {"initialize true", "start false"},
        "X");
    row("a plugin in two versions", {"A 1.0", "A 1.1 in=Extra"}, whole, {"initialize true", "start false"},
        "1.00.000 by feature Core, 1.01.000 by feature Extra");

    row("initialize makes every manager", {}, {"managers", "initialize", "managers"},
        {"no manager", "initialize true", "all managers"});
    row("initialize twice", {"A 1.0"}, {"initialize", "initialize", "start", "initialize", "stop"},
        {"initialize true", "initialize true", "start A", "start true", "initialize true", "stop A"},
        "initialize() was called again");
    row("nothing before initialize", {"A 1.0"},
        {"start", "stop", "categories x", "managers", "initialize", "start", "stop"},
        {"start false", "no manager", "initialize true", "start A", "start true", "stop A"},
        "setLoadCategories() needs initialize() first");
    row("progress of downloads reaches the facade", {}, {"initialize", "follow", "download"},
        {"initialize true", "progress a.zip 1 of 2"});
}

void tst_Startup::starts()
{
    QFETCH(QStringList, plugins);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, journal);
    QFETCH(QString, logged);
    const Outcome outcome = run(plugins, steps);
    QCOMPARE(outcome.journal.join(", "), journal.join(", "));
    QVERIFY2(!outcome.hasCrashed && outcome.exitCode == 0, qPrintable(outcome.log));
    QVERIFY2(outcome.log.contains(logged), qPrintable(outcome.log));
}

void tst_Startup::endsTheProcessWhenNothingCanBeOrdered()
{
    const Outcome outcome = run({"A 1.0 needs=B", "B 1.0 needs=A"}, {"initialize", "start"});
    QVERIFY(outcome.hasCrashed);
    QVERIFY(outcome.log.contains("Cannot start under this circumstances."));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.contains("initialize"))
        return runChild(arguments);
    tst_Startup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_Startup.moc"
