#include "guard/cWatchdog.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMutexLocker>

cWatchdog::cWatchdog(int interval, const std::function<void(int)>& look) : m_interval(interval), m_look(look)
{
    start();
}

cWatchdog::~cWatchdog()
{
    {
        const QMutexLocker locker(&m_lock);
        m_isEnding = true;
    }
    m_wake.wakeOne();
    wait();
}

void cWatchdog::run()
{
    QElapsedTimer time;
    time.start();
    QMutexLocker locker(&m_lock);
    while (!m_isEnding) {
        m_wake.wait(&m_lock, static_cast<unsigned long>(m_interval));
        if (m_isEnding)
            return;
        const int elapsed = int(qMin<qint64>(time.restart(), 2 * m_interval));
        locker.unlock();
        m_look(elapsed);
        locker.relock();
    }
}
