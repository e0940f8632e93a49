#pragma once

#include <QtCore/QHash>
#include <QtCore/QStringView>

#include <vector>

/**
 * Finds places of a list by a hash of what stands there.
 *
 * The slots lie side by side and hold the hash and the place, so a search reads one slot and then what it is about,
 * where QHash reads a bucket, a node and the key, each from somewhere else: with ten thousand records that is what the
 * time goes into. Nothing is removed but everything.
 */
class cHashSlots
{
public:
    static constexpr int Absent = -1;

    /// Another one in every process, so that no document can be made to have many names of one hash.
    static uint seed() { return uint(qGlobalQHashSeed()); }
    static uint hash(QStringView name) { return qHash(name, seed()); }

    /// Makes room for that many places.
    void reserve(int count);
    void insert(uint hash, int place);
    void clear();

    /// The first place, as they were inserted, of that hash for which @p isMatch(place) is true; Absent when none.
    template <typename Match>
    int find(uint hash, Match isMatch) const
    {
        if (m_slots.empty())
            return Absent;
        for (size_t at = hash & mask(); m_slots[at].place != Absent; at = (at + 1) & mask()) {
            if (m_slots[at].hash == hash && isMatch(m_slots[at].place))
                return m_slots[at].place;
        }
        return Absent;
    }

private:
    struct Slot
    {
        uint hash = 0;
        int place = Absent;
    };

    size_t mask() const { return m_slots.size() - 1; }
    void enter(Slot slot);
    void resize(size_t size);

    std::vector<Slot> m_slots; // a power of two, or none; at least half as many again as there are places
    int m_count = 0;
};
