#include "plugins/cNameIndex.h"

cNameIndex::cNameIndex(const std::vector<QString>& names) : m_names(names)
{
    m_slots.reserve(int(names.size()));
    for (int place = 0; place < int(names.size()); ++place) {
        const uint hash = cHashSlots::hash(names[place]);
        if (find(names[place], hash) == Absent)
            m_slots.insert(hash, place);
    }
}
