#pragma once

#include <QtCore/QReadWriteLock>
#include <QtCore/QThreadStorage>

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

/**
 * The lock of an index that is read often and changed seldom. Each change gives the index a number that none has had
 * before, so that what has been found in it holds for as long as it has this number.
 */
class cIndexLock
{
public:
    /// Held while the index is read.
    class cRead
    {
    public:
        explicit cRead(const cIndexLock& lock) : m_locker(&lock.m_lock) {}

    private:
        const QReadLocker m_locker;
    };

    /// Held while the index is changed.
    class cChange
    {
    public:
        explicit cChange(cIndexLock& lock) : m_lock(lock), m_locker(&lock.m_lock) {}
        ~cChange() { m_lock.m_number.store(nextNumber(), std::memory_order_release); }
        cChange(const cChange&) = delete;
        cChange& operator=(const cChange&) = delete;

    private:
        cIndexLock& m_lock;
        const QWriteLocker m_locker;
    };

    quint64 number() const { return m_number.load(std::memory_order_acquire); }

private:
    static quint64 nextNumber()
    {
        static std::atomic<quint64> last{0};
        return last.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    mutable QReadWriteLock m_lock;
    std::atomic<quint64> m_number{nextNumber()};
};

/**
 * What the calling thread has found last in the indices that have a @p Found under each key. It is found again without
 * a lock that other threads would wait for.
 */
template <typename Found>
class cLastFound
{
public:
    ~cLastFound() { s_ofThread = nullptr; }

    /// What the index of @p lock has under a key.
    /// @param hash of the key.
    /// @param isIt whether a Found is the one of the key.
    /// @param look gives the address of what the index has, or null; it is called with the lock held for reading.
    /// @return null when there is nothing; otherwise it is valid until the thread calls this again.
    template <typename IsIt, typename Look>
    static const Found* find(const cIndexLock& lock, std::size_t hash, IsIt isIt, Look look)
    {
        Place& last = placeOf(hash);
        if (last.hash == hash && last.number == lock.number() && isIt(last.found))
            return &last.found;
        Place fresh;
        {
            const cIndexLock::cRead reader(lock);
            const Found* const found = look();
            if (!found)
                return nullptr;
            fresh = {lock.number(), hash, *found};
        }
        std::swap(last, fresh); // what it was before is destroyed with no lock held
        return &last.found;
    }

private:
    static constexpr std::size_t PlaceCount = 32; // a thread rarely asks for more of them in turn

    struct Place
    {
        quint64 number = 0; // 0 for none
        std::size_t hash = 0;
        Found found{};
    };

    static Place& placeOf(std::size_t hash)
    {
        if (!s_ofThread) {
            // Qt destroys it with its thread; MinGW destroys a thread_local object when its memory is gone already.
            static QThreadStorage<cLastFound*> owner;
            owner.setLocalData(s_ofThread = new cLastFound);
        }
        return s_ofThread->m_places[hash % PlaceCount];
    }

    inline static thread_local cLastFound* s_ofThread = nullptr;

    std::array<Place, PlaceCount> m_places;
};
