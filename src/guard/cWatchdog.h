#pragma once

#include <functional>
#include <memory>

/**
 * A thread that looks after something now and then, until it is destroyed.
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
    struct Shared;
    static void run(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> m_shared;
};
