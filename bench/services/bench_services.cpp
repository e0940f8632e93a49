#include "BenchObjects.h"
#include "Goals.h"
#include "KeepMemory.h"
#include "cNamedService.h"
#include "cProcessorTime.h"

#include <Norvale/Corvane.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>

#include "services/cServiceMgr.h"

#include <QtCore/QHash>
#include <QtCore/QMetaClassInfo>
#include <QtCore/QPointer>

#include <memory>
#include <numeric>
#include <vector>

// Services are called by name and events delivered through the manager, each beside the bare call of the same method
// of the same object, which is what a caller without the manager would write.

namespace {

constexpr char Method0[] = "answer";
constexpr char Method3[] = "sum";

cServiceMgr& manager()
{
    static cServiceMgr mgr;
    return mgr;
}

cBenchService& service()
{
    static cBenchService object;
    return object;
}

void check(benchmark::State& state, bool isRight)
{
    if (!isRight)
        state.SkipWithError("wrong answer");
}

/// Runs @p call, which stores its answer, once an iteration, and holds every answer against the expected one.
template <typename Call>
void runCalls(benchmark::State& state, int expected, Call call)
{
    bool isRight = true;
    for (auto _ : state) {
        int answer = 0;
        isRight &= call(answer) && answer == expected;
    }
    check(state, isRight);
    state.SetItemsProcessed(state.iterations());
}

void bare0(benchmark::State& state)
{
    QObject* object = &service();
    runCalls(state, 42, [=](int& answer) {
        return QMetaObject::invokeMethod(object, Method0, Qt::DirectConnection, Q_RETURN_ARG(int, answer));
    });
}

void invoke0(benchmark::State& state)
{
    IServiceMgr& mgr = manager();
    const QString id = QString::fromLatin1("Bench.Service");
    const QString method = QString::fromLatin1(Method0);
    runCalls(state, 42, [&](int& answer) { return mgr.invoke(id, method, Q_RETURN_ARG(int, answer)); });
}

void bare3(benchmark::State& state)
{
    QObject* object = &service();
    const QString text = QString::fromLatin1("seven");
    runCalls(state, 14, [&](int& answer) {
        return QMetaObject::invokeMethod(object, Method3, Qt::DirectConnection, Q_RETURN_ARG(int, answer),
                                         Q_ARG(int, 7), Q_ARG(QString, text), Q_ARG(double, 2.5));
    });
}

void invoke3(benchmark::State& state)
{
    IServiceMgr& mgr = manager();
    const QString id = QString::fromLatin1("Bench.Service");
    const QString method = QString::fromLatin1(Method3);
    const QString text = QString::fromLatin1("seven");
    runCalls(state, 14, [&](int& answer) {
        return mgr.invoke(id, method, Q_RETURN_ARG(int, answer), Q_ARG(int, 7), Q_ARG(QString, text),
                          Q_ARG(double, 2.5));
    });
}

std::vector<std::unique_ptr<cBenchListener>> makeListeners(int count)
{
    std::vector<std::unique_ptr<cBenchListener>> listeners(static_cast<size_t>(count));
    for (auto& listener : listeners)
        listener = std::make_unique<cBenchListener>();
    return listeners;
}

bool haveAllHeard(const std::vector<std::unique_ptr<cBenchListener>>& listeners, qint64 total)
{
    return std::all_of(listeners.begin(), listeners.end(), [=](const auto& l) { return l->total() == total; });
}

void bareEvents(benchmark::State& state, int count)
{
    const auto listeners = makeListeners(count);
    for (auto _ : state) {
        for (const auto& listener : listeners)
            QMetaObject::invokeMethod(listener.get(), "onChanged", Qt::AutoConnection, Q_ARG(int, 3));
    }
    check(state, haveAllHeard(listeners, 3 * qint64(state.iterations())));
}

void notify(benchmark::State& state, int count)
{
    const auto listeners = makeListeners(count);
    IServiceMgr& mgr = manager();
    const QString set = QStringLiteral("Bench.Set%1").arg(count);
    const QString event = QString::fromLatin1("Changed");
    for (const auto& listener : listeners)
        mgr.addListener(set, listener.get());
    for (auto _ : state)
        mgr.notify(set, event, Q_ARG(int, 3));
    check(state, haveAllHeard(listeners, 3 * qint64(state.iterations())));
}

/// The ids of @p count services, in the order in which they are registered.
std::vector<QByteArray> makeIds(int count)
{
    std::vector<QByteArray> ids;
    for (int i = 0; i < count; ++i)
        ids.push_back("Bench.Service." + QByteArray::number(i));
    return ids;
}

std::vector<std::unique_ptr<cNamedService>> makeServices(const std::vector<QByteArray>& ids)
{
    std::vector<std::unique_ptr<cNamedService>> services;
    for (const QByteArray& id : ids)
        services.push_back(std::make_unique<cNamedService>(id));
    return services;
}

std::vector<QString> toStrings(const std::vector<QByteArray>& ids)
{
    std::vector<QString> names;
    for (const QByteArray& id : ids)
        names.push_back(QString::fromLatin1(id));
    return names;
}

class cManagedServices
{
public:
    void add(QObject* service) { m_mgr.registerService(service); }
    QObject* find(const QString& id) { return m_mgr.serviceFromServiceName(id); }
    int size() { return m_mgr.serviceList().size(); }

private:
    cServiceMgr m_mgr;
};

/// The plain way to the same: a hash of guarded pointers by the ids that the classes tell, which watches the objects
/// and announces each.
class cPlainServices : public QObject
{
public:
    void add(QObject* service)
    {
        const QString id = idOf(service);
        m_services.insert(id, service);
        connect(service, &QObject::destroyed, this, &cPlainServices::forget, Qt::DirectConnection);
        cJsonValue message(ObjectType);
        message[QStringLiteral("command")] = QStringLiteral("NEWSERVICE");
        message[QStringLiteral("service_id")] = id;
        Corvane::handleLocalSocketMessage(-1, message);
    }
    QObject* find(const QString& id) const { return m_services.value(id); }
    int size() const { return m_services.size(); }

private:
    static QString idOf(const QObject* service)
    {
        const QMetaObject* meta = service->metaObject();
        return QString::fromLatin1(meta->classInfo(meta->indexOfClassInfo("service")).value());
    }
    void forget(const QObject* service) { m_services.remove(idOf(service)); }

    QHash<QString, QPointer<QObject>> m_services;
};

/// Registers @p count new services anew in each round, then looks each up once.
/// It keeps one order throughout, so that the time tells of the registry's work more than of the memory's reach; and it
/// is the processor's time of this one thread, which no other program's turn is part of.
template <typename Services>
void registry(benchmark::State& state, int count)
{
    const std::vector<QByteArray> ids = makeIds(count);
    const std::vector<QString> lookedUp = toStrings(ids);
    for (auto _ : state) {
        const auto objects = makeServices(ids);
        Services services;
        const cProcessorTime time;
        for (const auto& object : objects)
            services.add(object.get());
        bool isRight = true;
        for (const QString& id : lookedUp)
            isRight &= services.find(id) != nullptr;
        state.SetIterationTime(time.elapsed());
        check(state, isRight && services.size() == count);
    }
}

/// A long round has a slow spell of the machine in it more likely than not; of many short ones some have none.
void inShortRounds(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseRealTime()->MinTime(0.05)->Repetitions(61);
}

void declareCalls(Goals& goals)
{
    constexpr struct
    {
        const char* name;
        const char* bare;
        void (*run)(benchmark::State&);
        void (*runBare)(benchmark::State&);
    } Calls[] = {{"invoke_0_args", "bare_0_args", invoke0, bare0}, {"invoke_3_args", "bare_3_args", invoke3, bare3}};

    for (const auto& call : Calls) {
        const std::string name = call.name, bare = call.bare, twice = name + "_2_threads";
        inShortRounds(benchmark::RegisterBenchmark(bare.c_str(), call.runBare));
        inShortRounds(benchmark::RegisterBenchmark(name.c_str(), call.run));
        inShortRounds(benchmark::RegisterBenchmark((bare + "_2_threads").c_str(), call.runBare)->Threads(2));
        inShortRounds(benchmark::RegisterBenchmark(twice.c_str(), call.run)->Threads(2));
        goals.atMost(name, name, bare, 1.3);
        // The time of an iteration is the wall's, shared by both threads, so this is the ratio of calls per second.
        goals.atLeast(twice, name, twice, 1.7);
        // What two threads of the bare call give is what the machine has to give.
        goals.growth(bare + "_2_threads", bare, bare + "_2_threads");
    }
}

void declareEvents(Goals& goals)
{
    for (const int count : {1, 10, 100}) {
        const std::string name = "notify_" + std::to_string(count), bare = "bare_events_" + std::to_string(count);
        inShortRounds(benchmark::RegisterBenchmark(bare.c_str(), bareEvents, count));
        inShortRounds(benchmark::RegisterBenchmark(name.c_str(), notify, count));
        goals.atMost(name, name, bare, 1.3);
    }
}

void declareRegistry(Goals& goals)
{
    constexpr struct
    {
        const char* name;
        int count;
    } Sizes[] = {{"services_1k", 1000}, {"services_10k", 10000}, {"services_100k", 100000}};

    // Many short repetitions that take turns: what else the machine does then meets every size alike.
    const auto add = [](const std::string& name, int count, void (*run)(benchmark::State&, int)) {
        benchmark::RegisterBenchmark(name.c_str(), run, count)->UseManualTime()->MinTime(0.1)->Repetitions(31);
    };
    for (const auto& size : Sizes) {
        const std::string name = size.name, plain = name + "_plain";
        add(name, size.count, registry<cManagedServices>);
        add(plain, size.count, registry<cPlainServices>);
        goals.atMost(name, name, plain, 1.5);
    }
    goals.growth("services_10k", "services_10k", "services_1k");
    goals.growth("services_100k", "services_100k", "services_10k");
}

} // namespace

int main(int argc, char** argv)
{
    keepMemory();
    static_cast<IServiceMgr&>(manager()).registerService(&service());
    Goals goals(Goals::Round::Fastest);
    declareCalls(goals);
    declareEvents(goals);
    declareRegistry(goals);
    return runBenchmarks(argc, argv, goals);
}
