#include "guard/cWatchdog.h"

#include <QtCore/QtGlobal>

#include <atomic>
#include <chrono>

#ifdef Q_OS_UNIX
#include <sys/mman.h>
#endif

namespace {

#ifdef Q_OS_UNIX

constexpr std::size_t PageSize = 4096;
constexpr std::size_t StackSize = 1 << 20;

/// The stack of the first watchdog, and as a rule the only one. The system would map eight times as much, and every
/// start would wait for that; of this, only what is used is ever there.
alignas(PageSize) char s_watchStack[StackSize];
std::atomic<bool> s_isStackTaken{false};

/// @return false when another watchdog has it.
bool takeWatchStack(pthread_attr_t& attributes)
{
    if (s_isStackTaken.exchange(true))
        return false;
    mprotect(s_watchStack, PageSize, PROT_NONE); // so that a stack that is full ends the process
    pthread_attr_setstack(&attributes, s_watchStack + PageSize, StackSize - PageSize);
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
