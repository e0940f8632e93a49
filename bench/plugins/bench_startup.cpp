// The start-up of a suite, from features.xml to the last plugin started, beside the least that it could be: reading
// each manifest once, parsing it once as a stream, and loading and calling each library. Each round of either is a
// process of its own, so that every library is really loaded; what is measured is the start alone, not the process.
//
// The same start without the guard tells what that costs. Both are near each other, so there are more rounds of them.

#include "Goals.h"
#include "cProcessorTime.h"
#include "cSampleSuite.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IPluginMgr.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QXmlStreamReader>

#include <dlfcn.h>

namespace {

constexpr int PluginCount = 200;

/// What a child measures, in seconds; negative when not every plugin came up.
using Measure = double (*)();

double startFramework(bool isGuarded)
{
    if (!Corvane::initialize())
        return -1;
    cGuardOptions guard;
    guard.isOn = isGuarded;
    IPluginMgr::instance()->setGuard(guard);
    const cProcessorTime time;
    const bool isStarted = Corvane::startNormal();
    const double elapsed = time.elapsed();
    int started = 0;
    for (const cPluginInfo& info : IPluginMgr::instance()->plugins())
        started += info.state == cPluginInfo::Started;
    return isStarted && started == PluginCount ? elapsed : -1;
}

double startGuarded()
{
    return startFramework(true);
}

double startUnguarded()
{
    return startFramework(false);
}

bool readOnce(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QXmlStreamReader reader(file.readAll());
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

bool loadOnce(const QString& path)
{
    void* library = dlopen(QFile::encodeName(path).constData(), RTLD_NOW);
    const auto entry = library ? reinterpret_cast<IPlugin* (*)()>(dlsym(library, "createPlugin")) : nullptr;
    return entry && entry();
}

double startBare()
{
    const QStringList folders = cSampleSuite::folders(cSampleSuite::rootOfThisProcess(), PluginCount);
    int started = 0;
    const cProcessorTime time;
    for (const QString& folder : folders)
        started += readOnce(folder + QLatin1String("/Manifest.xml")) && loadOnce(folder + QLatin1String("/small.so"));
    const double elapsed = time.elapsed();
    return started == PluginCount ? elapsed : -1;
}

void runInChild(benchmark::State& state, const cSampleSuite& suite, const QString& way)
{
    const QString program = QCoreApplication::applicationFilePath();
    for (auto _ : state) {
        QProcess child;
        child.setProcessEnvironment(suite.environment());
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(program, {QStringLiteral("--child"), way});
        child.waitForFinished(-1);
        const double elapsed = child.readAllStandardOutput().trimmed().toDouble();
        if (elapsed <= 0) {
            state.SkipWithError("not every plugin came up");
            return;
        }
        state.SetIterationTime(elapsed);
    }
}

int measureInChild(const char* way)
{
    const std::map<std::string, Measure> ways{
        {"framework", startGuarded}, {"guarded", startGuarded}, {"unguarded", startUnguarded}, {"bare", startBare}};
    std::printf("%.9f\n", ways.at(way)());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--child") == 0)
        return measureInChild(argv[2]);

    const cSampleSuite suite(PluginCount);
    const auto add = [&](const std::string& way, int repetitions) {
        const auto run = [&suite, way](benchmark::State& state) {
            runInChild(state, suite, QString::fromStdString(way));
        };
        benchmark::RegisterBenchmark(("startup/" + way).c_str(), run)
            ->UseManualTime()
            ->Iterations(3)
            ->Repetitions(repetitions)
            ->Unit(benchmark::kMillisecond);
    };
    add("bare", 15);
    add("framework", 15);
    add("guarded", 60);
    add("unguarded", 60);
    Goals goals(Goals::Round::Median);
    goals.atMost("startup_200_plugins", "startup/framework", "startup/bare", 1.6);
    goals.atMost("guard_startup", "startup/guarded", "startup/unguarded", 1.01);
    return runBenchmarks(argc, argv, goals);
}
