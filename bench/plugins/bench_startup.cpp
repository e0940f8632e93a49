// The start-up of a suite, from features.xml to the last plugin started, beside the least that it could be: reading
// each manifest once, parsing it once as a stream, and loading and calling each library. Each round of either is a
// process of its own, so that every library is really loaded; what is measured is the start alone, not the process.
//
// The same start without the guard tells what that costs. It is less than one start differs from the next, so starts
// are made in pairs, one directly after the other, and all on one processor; the ratio is the median of those of the
// pairs. The host has no other thread, so the watchdog's is the first, and from then on the system takes its slower
// ways, with locks. A host with windows has threads before, those of its window system: what the guard costs in one
// that has is told, too.

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
#include <future>
#include <sched.h>
#include <thread>

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

/// As a window system's, which waits for what that sends.
void startThread()
{
    std::thread([] { std::promise<void>().get_future().wait(); }).detach();
}

template <bool IsGuarded, bool HasThread>
double startHost()
{
    if (HasThread)
        startThread();
    return startFramework(IsGuarded);
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

/// A start in a process of its own. @return as Measure.
double startInChild(const cSampleSuite& suite, const QString& way)
{
    QProcess child;
    child.setProcessEnvironment(suite.environment());
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--child"), way});
    child.waitForFinished(-1);
    return child.readAllStandardOutput().trimmed().toDouble();
}

int measureInChild(const char* way)
{
    const std::map<std::string, Measure> ways{{"framework", startHost<true, false>},
                                              {"unguarded", startHost<false, false>},
                                              {"framework_with_thread", startHost<true, true>},
                                              {"unguarded_with_thread", startHost<false, true>},
                                              {"bare", startBare}};
    std::printf("%.9f\n", ways.at(way)());
    return 0;
}

/// Two ways to start, in turn; which is first changes from pair to pair.
class cPairs
{
public:
    cPairs(const cSampleSuite& suite, const char* over, const char* under)
        : m_suite(suite), m_over(QLatin1String(over)), m_under(QLatin1String(under))
    {
    }

    void add(const std::string& name, int count)
    {
        benchmark::RegisterBenchmark(name.c_str(), [this](benchmark::State& state) { run(state); })
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(count)
            ->Unit(benchmark::kMillisecond);
    }

    /// Of the ratios of the pairs; 0 when there was none.
    double median() const
    {
        std::vector<double> ratios = m_ratios;
        std::sort(ratios.begin(), ratios.end());
        return ratios.empty() ? 0 : ratios[ratios.size() / 2];
    }

private:
    void run(benchmark::State& state)
    {
        for (auto _ : state) {
            const bool isOverFirst = m_ratios.size() % 2 == 0;
            const double first = startInChild(m_suite, isOverFirst ? m_over : m_under);
            const double second = startInChild(m_suite, isOverFirst ? m_under : m_over);
            if (first <= 0 || second <= 0) {
                state.SkipWithError("not every plugin came up");
                return;
            }
            state.SetIterationTime(first + second);
            m_ratios.push_back(isOverFirst ? first / second : second / first);
        }
    }

    const cSampleSuite& m_suite;
    const QString m_over;
    const QString m_under;
    std::vector<double> m_ratios;
};

/// So that no start runs on a processor that is warmer, or shared with others, than that of the next.
void stayOnThisProcessor()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof one, &one);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--child") == 0)
        return measureInChild(argv[2]);

    stayOnThisProcessor();
    const cSampleSuite suite(PluginCount);
    cPairs startup(suite, "framework", "bare");
    cPairs guard(suite, "framework", "unguarded");
    cPairs guardWithThread(suite, "framework_with_thread", "unguarded_with_thread");
    startup.add("framework+bare", 100);
    guard.add("guarded+unguarded", 600);
    guardWithThread.add("guarded+unguarded_with_thread", 300);
    Goals goals(Goals::Round::Median);
    goals.custom("startup_200_plugins", 1.6, false, [&](const Goals&) { return startup.median(); });
    goals.growth("guard_startup_with_thread", [&] { return guardWithThread.median(); });
    goals.custom("guard_startup", 1.01, false, [&](const Goals&) { return guard.median(); });
    return runBenchmarks(argc, argv, goals);
}
