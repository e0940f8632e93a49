#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <pthread.h>

/**
 * A thread that looks after something now and then, until it is destroyed. Where the system gives no thread, nobody
 * looks.
 *
 * It counts only time in which the process ran: when the process, or the machine, has stood still, the next look is
 * told of two intervals at most.
 */
class cWatchdog
{
public:
    /// Looks every @p interval milliseconds. @p look is called in the thread, with the milliseconds since it was called
    /// last.
    cWatchdog(int interval, const std::function<void(int)>& look);

    /// Ends the thread, after the look that goes on.
    ~cWatchdog();

    cWatchdog(const cWatchdog&) = delete;
    cWatchdog& operator=(const cWatchdog&) = delete;

private:
    void start();
    void run();

    const int m_interval;
    const std::function<void(int)> m_look;
    bool m_hasOwnStack = false;
    bool m_isStarted = false;
    pthread_t m_thread;
    std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    bool m_isEnding = false;
};
