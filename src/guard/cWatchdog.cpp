#include "guard/cWatchdog.h"

#include <QtCore/QtGlobal>

#include <atomic>
#include <chrono>

namespace {

#ifdef Q_OS_UNIX

constexpr std::size_t StackSize = 1 << 20;

/// The stack of the first watchdog, and as a rule the only one: every start would wait until the system has mapped one
/// and closed the page below it. Of this, only what is used is ever there; a look needs a few kilobytes, and what else
/// a host does when it is told of a line.
alignas(4096) char s_watchStack[StackSize];
std::atomic<bool> s_isStackTaken{false};

/// @return false when another watchdog has it.
bool takeWatchStack(pthread_attr_t& attributes)
{
    if (s_isStackTaken.exchange(true))
        return false;
    pthread_attr_setstack(&attributes, s_watchStack, StackSize);
    return true;
}

void giveWatchStack()
{
    s_isStackTaken = false;
}

#else

bool takeWatchStack(pthread_attr_t&)
{
    return false;
}

void giveWatchStack() {}

#endif

} // namespace

cWatchdog::cWatchdog(int interval, const std::function<void(int)>& look) : m_interval(interval), m_look(look)
{
    start();
}

cWatchdog::~cWatchdog()
{
    {
        const std::lock_guard<std::mutex> locker(m_lock);
        m_isEnding = true;
    }
    m_changed.notify_all();
    if (m_isStarted)
        pthread_join(m_thread, nullptr);
    if (m_hasOwnStack)
        giveWatchStack();
}

// Every start waits for this. A standard thread always has the stack of the system's, and one of Qt makes itself an
// event loop.
void cWatchdog::start()
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    m_hasOwnStack = takeWatchStack(attributes);
    const auto enter = [](void* self) -> void* {
        static_cast<cWatchdog*>(self)->run();
        return nullptr;
    };
    m_isStarted = pthread_create(&m_thread, &attributes, enter, this) == 0;
    pthread_attr_destroy(&attributes);
}

void cWatchdog::run()
{
    using cClock = std::chrono::steady_clock;
    using cMilliseconds = std::chrono::milliseconds;
    cClock::time_point last = cClock::now();
    std::unique_lock<std::mutex> locker(m_lock);
    while (!m_changed.wait_for(locker, cMilliseconds(m_interval), [this] { return m_isEnding; })) {
        const cClock::time_point now = cClock::now();
        const auto elapsed = std::chrono::duration_cast<cMilliseconds>(now - last).count();
        last = now;
        locker.unlock();
        m_look(int(qMin<qint64>(elapsed, 2 * qint64(m_interval))));
        locker.lock();
    }
}
