#pragma once

#include <QtCore/QMutex>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <functional>

/**
 * A thread that looks after something now and then, until it is destroyed.
 *
 * It counts only time in which the process ran: when the process, or the machine, has stood still, the next look is
 * told of two intervals at most.
 */
class cWatchdog : public QThread
{
public:
    /// Looks every @p interval milliseconds. @p look is called in the thread, with the milliseconds since it was called
    /// last.
    cWatchdog(int interval, const std::function<void(int)>& look);

    /// Ends the thread, after the look that goes on.
    ~cWatchdog() override;

protected:
    void run() override;

private:
    const int m_interval;
    const std::function<void(int)> m_look;
    QMutex m_lock; // guards what follows
    QWaitCondition m_wake;
    bool m_isEnding = false;
};
