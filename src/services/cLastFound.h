#pragma once

#include <QtCore/QReadWriteLock>
#include <QtCore/QStringView>
#include <QtCore/QThreadStorage>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
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

    /// What the index of @p lock has under @p key.
    /// @param keyOf gives the key of a Found.
    /// @param look gives the address of what the index has, or null; it is called with the lock held for reading.
    /// @return null when there is nothing; otherwise it is valid until the thread calls this again.
    template <typename KeyOf, typename Look>
    static const Found* find(const cIndexLock& lock, QStringView key, KeyOf keyOf, Look look)
    {
        Place& last = ofThread().m_places[placeOf(key)];
        if (last.number == lock.number() && isSame(keyOf(last.found), key))
            return &last.found;
        Place fresh;
        {
            const cIndexLock::cRead reader(lock);
            const Found* const found = look();
            if (!found)
                return nullptr;
            fresh = {lock.number(), *found};
        }
        std::swap(last, fresh); // what it was before is destroyed with no lock held
        return &last.found;
    }

private:
    static constexpr int PlaceBits = 5;
    static constexpr std::size_t PlaceCount = 1 << PlaceBits; // a thread rarely asks for more of them in turn

    struct Place
    {
        quint64 number = 0; // 0 for none
        Found found{};
    };

    /// The place of a key, told by its first, middle and last letters: keys that share one only displace each other,
    /// so this need not be a hash that looks at every letter.
    static std::size_t placeOf(QStringView key)
    {
        constexpr qsizetype AtOnce = 4;
        const qsizetype size = key.size();
        if (size < AtOnce)
            return key.isEmpty() ? 0 : key.back().unicode() % PlaceCount;
        const quint64 mixed = quint64(size) + lettersAt(key, 0) * 0xbf58476d1ce4e5b9U +
                              lettersAt(key, (size - AtOnce) / 2) * 0x94d049bb133111ebU +
                              lettersAt(key, size - AtOnce) * 0x9e3779b97f4a7c15U;
        return std::size_t(mixed >> (64 - PlaceBits));
    }

    /// Four letters from @p index on.
    static quint64 lettersAt(QStringView text, qsizetype index)
    {
        quint64 letters;
        std::memcpy(&letters, text.utf16() + index, sizeof letters);
        return letters;
    }

    /// What `==` answers, without the call of a function of Qt 6 that decides between kinds of texts first.
    static bool isSame(QStringView a, QStringView b)
    {
        const auto size = std::size_t(a.size()) * sizeof(QChar);
        return a.size() == b.size() && (size == 0 || std::memcmp(a.utf16(), b.utf16(), size) == 0);
    }

    static cLastFound& ofThread()
    {
        if (!s_ofThread) {
            // Qt destroys it with its thread; MinGW destroys a thread_local object when its memory is gone already.
            static QThreadStorage<cLastFound*> owner;
            owner.setLocalData(s_ofThread = new cLastFound);
        }
        return *s_ofThread;
    }

    inline static thread_local cLastFound* s_ofThread = nullptr;

    std::array<Place, PlaceCount> m_places;
};
