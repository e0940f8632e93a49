#pragma once

#include "core/cHashSlots.h"

#include <QtCore/QString>

#include <vector>

/**
 * Names that have come up, in a few blocks of memory however many there are.
 */
class cNameSet
{
public:
    /// @return true when the name was not in the set before.
    bool insert(const QString& name)
    {
        const uint hash = cHashSlots::hash(name);
        if (m_slots.find(hash, [&](int place) { return m_names[place] == name; }) != cHashSlots::Absent)
            return false;
        m_slots.insert(hash, int(m_names.size()));
        m_names.push_back(name);
        return true;
    }

private:
    std::vector<QString> m_names;
    cHashSlots m_slots;
};
