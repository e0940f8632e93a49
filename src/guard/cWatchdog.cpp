#include "guard/cWatchdog.h"

#include <QtCore/QElapsedTimer>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

// A process ends as it is used to while the thread runs, so nobody need join it; a thread of Qt would make itself an
// event loop, and every start would pay for that.
struct cWatchdog::Shared
{
    const int interval;
    const std::function<void(int)> look;
    std::mutex lock; // guards what follows
    std::condition_variable changed;
    bool isEnding = false;
    bool hasEnded = false;
};

cWatchdog::cWatchdog(int interval, const std::function<void(int)>& look) : m_shared(new Shared{interval, look, {}, {}})
{
    std::thread([shared = m_shared] { run(shared); }).detach();
}

cWatchdog::~cWatchdog()
{
    std::unique_lock<std::mutex> locker(m_shared->lock);
    m_shared->isEnding = true;
    m_shared->changed.notify_all();
    m_shared->changed.wait(locker, [this] { return m_shared->hasEnded; });
}

void cWatchdog::run(const std::shared_ptr<Shared>& shared)
{
    QElapsedTimer time;
    time.start();
    std::unique_lock<std::mutex> locker(shared->lock);
    const auto isEnding = [&] { return shared->isEnding; };
    while (!shared->changed.wait_for(locker, std::chrono::milliseconds(shared->interval), isEnding)) {
        const int elapsed = int(qMin<qint64>(time.restart(), 2 * shared->interval));
        locker.unlock();
        shared->look(elapsed);
        locker.lock();
    }
    shared->hasEnded = true;
    shared->changed.notify_all();
}
