#include "plugins/cNameIndex.h"

#include <QtCore/QtMath>

cNameIndex::cNameIndex(const std::vector<QString>& names)
    : m_names(names), m_slots(qNextPowerOfTwo(quint32(names.size() + names.size() / 2)), Slot{0, Absent})
{
    for (int place = 0; place < int(names.size()); ++place) {
        const uint hash = qHash(QStringView(names[place]));
        Slot& slot = m_slots[slotOf(names[place], hash)];
        if (slot.place == Absent)
            slot = {hash, place};
    }
}

int cNameIndex::find(QStringView name) const
{
    return m_slots[slotOf(name, qHash(name))].place;
}

/// The slot that holds the name, or the free one where it would go.
size_t cNameIndex::slotOf(QStringView name, uint hash) const
{
    const size_t mask = m_slots.size() - 1;
    size_t at = hash & mask;
    while (m_slots[at].place != Absent && (m_slots[at].hash != hash || m_names[m_slots[at].place] != name))
        at = (at + 1) & mask;
    return at;
}
