#include "log/cLogLine.h"

#include <QtCore/QThread>

cLogLine::cLogLine() : m_buffer(&m_text)
{
    m_buffer.open(QIODevice::ReadWrite | QIODevice::Text);
}

void cLogLine::lock()
{
    m_lock.lock();
    m_holder.store(QThread::currentThreadId(), std::memory_order_relaxed);
}

void cLogLine::unlock()
{
    m_holder.store(nullptr, std::memory_order_relaxed);
    m_lock.unlock();
}

bool cLogLine::lockUnlessHeld()
{
    // Only the calling thread itself can have stored its own id, so a stale answer is never "held".
    if (m_holder.load(std::memory_order_relaxed) == QThread::currentThreadId())
        return false;
    lock();
    return true;
}

void cLogLine::open()
{
    m_openNumber.store(++m_lastNumber, std::memory_order_relaxed);
}

bool cLogLine::claim(quint64 number)
{
    return m_openNumber.compare_exchange_strong(number, 0, std::memory_order_relaxed);
}

void cLogLine::clear()
{
    m_text.clear();
    m_buffer.seek(0);
}
