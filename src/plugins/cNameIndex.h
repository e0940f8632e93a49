#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringView>

#include <vector>

/**
 * Finds the first place of a name in a list of names that neither grows nor changes.
 *
 * The slots lie side by side and hold the hash, so a search reads one slot and the name itself, where QHash reads a
 * bucket, a node and the name, each from somewhere else: with ten thousand names that is what the time goes into.
 */
class cNameIndex
{
public:
    static constexpr int Absent = -1;

    explicit cNameIndex(const std::vector<QString>& names);

    /// @return the place of the first such name; Absent when there is none.
    int find(QStringView name) const;

private:
    struct Slot
    {
        uint hash;
        int place = Absent;
    };

    size_t slotOf(QStringView name, uint hash) const;

    const std::vector<QString>& m_names;
    std::vector<Slot> m_slots; // a power of two, at least half as many again as names
};
