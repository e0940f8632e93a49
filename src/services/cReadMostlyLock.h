#pragma once

#include <QtCore/QReadWriteLock>

#include <array>
#include <cstddef>

/**
 * One read-write lock for data that is read far more often than written.
 *
 * A plain read-write lock keeps its count of readers in one word, which threads that only read still take from each
 * other at every call. Here each thread reads through a slot of its own (threads beyond the number of slots share
 * them), and a writer takes all slots, always in the same order. It is not recursive.
 */
class cReadMostlyLock
{
public:
    cReadMostlyLock() = default;

    cReadMostlyLock(const cReadMostlyLock&) = delete;
    cReadMostlyLock& operator=(const cReadMostlyLock&) = delete;

    /// Holds the lock for reading while it lives.
    class Reader
    {
    public:
        explicit Reader(cReadMostlyLock& lock) : m_slot(lock.slotOfThread()) { m_slot.lockForRead(); }
        ~Reader() { m_slot.unlock(); }

        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;

    private:
        QReadWriteLock& m_slot;
    };

    /// Holds the lock for writing while it lives.
    class Writer
    {
    public:
        explicit Writer(cReadMostlyLock& lock);
        ~Writer();

        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;

    private:
        cReadMostlyLock& m_lock;
    };

private:
    static constexpr std::size_t SlotCount = 16;
    /// Slots lie a pair of cache lines apart: processors fetch neighbouring lines together.
    static constexpr std::size_t SlotDistance = 128;

    struct alignas(SlotDistance) Slot
    {
        QReadWriteLock lock;
    };

    QReadWriteLock& slotOfThread();

    std::array<Slot, SlotCount> m_slots;
};
