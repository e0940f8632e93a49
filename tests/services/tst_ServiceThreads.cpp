#include "SampleServices.h"
#include "SettingsSandbox.h"

#include "services/cServiceMgr.h"

#include <QtTest/QtTest>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

class cCounter : public QObject
{
    Q_OBJECT

public:
    int count = 0;

public Q_SLOTS:
    void onTick(int amount) { count += amount; }
};

class tst_ServiceThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsWhileTheRegistryChanges();
    void eventsWhileListenersComeAndGo();

private:
    static void runAtOnce(const std::vector<std::function<void()>>& tasks);

    SettingsSandbox m_sandbox;
};

void tst_ServiceThreads::runAtOnce(const std::vector<std::function<void()>>& tasks)
{
    std::atomic<size_t> ready{0};
    std::vector<std::thread> threads;
    for (const auto& task : tasks) {
        threads.emplace_back([&] {
            ++ready;
            while (ready < tasks.size())
                std::this_thread::yield();
            task();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

/// One thread registers and withdraws a service over and over, others call one that stays, look up and list.
void tst_ServiceThreads::callsWhileTheRegistryChanges()
{
    constexpr int Rounds = 20000;
    cServiceMgr manager;
    IServiceMgr& mgr = manager;
    cClock clock;
    cAlarm alarm;
    mgr.registerService(&clock);
    std::atomic<int> wrong{0};

    const auto change = [&] {
        for (int i = 0; i < Rounds; ++i) {
            mgr.registerService(&alarm);
            wrong += mgr.serviceFromServiceName("Alarm") != &alarm;
            mgr.unregisterService(&alarm);
            wrong += mgr.serviceFromServiceName("Alarm") != nullptr;
        }
    };
    const auto call = [&] {
        for (int i = 0; i < Rounds; ++i) {
            int hours = 0;
            wrong += !mgr.invoke("Clock", "add", Q_RETURN_ARG(int, hours), Q_ARG(int, i)) || hours != 12 + i;
            const QObject* found = mgr.serviceFromServiceName("Alarm");
            wrong += found && found != &alarm;
            wrong += !mgr.serviceList().contains("Clock");
        }
    };
    runAtOnce({change, call, call, call});
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(mgr.serviceList(), QStringList("Clock"));
}

/// Threads add, remove, destroy and notify listeners of their own, at once and partly in one set.
void tst_ServiceThreads::eventsWhileListenersComeAndGo()
{
    constexpr int Rounds = 5000;
    cServiceMgr manager;
    IServiceMgr& mgr = manager;
    std::atomic<int> wrong{0};

    const auto task = [&](const QString& own) {
        return [&mgr, &wrong, own] {
            for (int i = 0; i < Rounds; ++i) {
                cCounter stays;
                {
                    cCounter goes;
                    mgr.addListener(own, &stays);
                    mgr.addListener(own, &goes);
                    mgr.addListener("Shared", &goes); // of which nobody raises an event while it is destroyed
                    mgr.notify(own, "Tick", Q_ARG(int, 2));
                    wrong += stays.count != 2 || goes.count != 2;
                }
                mgr.notify(own, "Tick", Q_ARG(int, 3));
                mgr.removeListener(own, &stays);
                mgr.notify(own, "Tick", Q_ARG(int, 4));
                wrong += stays.count != 5;
            }
        };
    };
    runAtOnce({task("A"), task("B"), task("C"), task("D")});
    QCOMPARE(wrong.load(), 0);
}

QTEST_GUILESS_MAIN(tst_ServiceThreads)
#include "tst_ServiceThreads.moc"
