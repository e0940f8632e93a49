#pragma once

#include "core/cHashSlots.h"

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <vector>

/**
 * Finds the first place of a name in a list of names that neither grows nor changes.
 */
class cNameIndex
{
public:
    static constexpr int Absent = cHashSlots::Absent;

    explicit cNameIndex(const std::vector<QString>& names);

    /// @return the place of the first such name; Absent when there is none.
    int find(QStringView name) const { return find(name, cHashSlots::hash(name)); }

private:
    int find(QStringView name, uint hash) const
    {
        return m_slots.find(hash, [&](int place) { return m_names[place] == name; });
    }

    const std::vector<QString>& m_names;
    cHashSlots m_slots;
};
