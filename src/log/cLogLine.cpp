#include "log/cLogLine.h"

#include <QtCore/QThread>

namespace {

/// The bytes of a line keep their memory from line to line, unless one was long.
constexpr int usualCapacity = 512;
constexpr int keptCapacity = 65536;

} // namespace

cLogLine::cLogLine() : m_buffer(&m_text), m_stream(m_buffer)
{
    m_text.reserve(usualCapacity);
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

const QDebug& cLogLine::open()
{
    m_openNumber.store(++m_lastNumber, std::memory_order_relaxed);
    return m_stream.start();
}

bool cLogLine::claim(quint64 number)
{
    return m_openNumber.compare_exchange_strong(number, 0, std::memory_order_relaxed);
}

void cLogLine::clear(QDebug debug)
{
    if (m_text.capacity() > keptCapacity) {
        m_text.clear();
        m_text.reserve(usualCapacity);
    } else {
        m_text.resize(0);
    }
    m_buffer.seek(0);
    m_stream.settle(std::move(debug));
}
