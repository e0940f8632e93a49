#include "services/cReadMostlyLock.h"

#include <atomic>

namespace {

std::size_t nextThreadNumber()
{
    static std::atomic<std::size_t> next{0};
    return next.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

QReadWriteLock& cReadMostlyLock::slotOfThread()
{
    static thread_local const std::size_t number = nextThreadNumber();
    return m_slots[number % SlotCount].lock;
}

cReadMostlyLock::Writer::Writer(cReadMostlyLock& lock) : m_lock(lock)
{
    for (Slot& slot : m_lock.m_slots)
        slot.lock.lockForWrite();
}

cReadMostlyLock::Writer::~Writer()
{
    for (Slot& slot : m_lock.m_slots)
        slot.lock.unlock();
}
