#include "core/cHashSlots.h"

#include <QtCore/QtMath>

#include <algorithm>

void cHashSlots::reserve(int count)
{
    const size_t size = qNextPowerOfTwo(quint32(count + count / 2));
    if (size > m_slots.size())
        resize(size);
}

void cHashSlots::insert(uint hash, int place)
{
    ++m_count;
    if (m_slots.size() < size_t(m_count) + size_t(m_count) / 2 + 1)
        resize(std::max<size_t>(16, m_slots.size() * 2));
    enter({hash, place});
}

void cHashSlots::clear()
{
    *this = cHashSlots();
}

void cHashSlots::enter(Slot slot)
{
    size_t at = slot.hash & mask();
    while (m_slots[at].place != Absent)
        at = (at + 1) & mask();
    m_slots[at] = slot;
}

// A run of slots may go on from the end of the table at its beginning. Begun behind a free slot, every run is entered
// in its own order, so the first of a hash stays the first.
void cHashSlots::resize(size_t size)
{
    std::vector<Slot> former(size);
    former.swap(m_slots);
    const auto isFree = [](const Slot& slot) { return slot.place == Absent; };
    const auto firstFree = std::find_if(former.begin(), former.end(), isFree);
    std::rotate(former.begin(), firstFree, former.end());
    for (const Slot& slot : former) {
        if (!isFree(slot))
            enter(slot);
    }
}
