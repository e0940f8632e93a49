#pragma once

#include <QtCore/QtGlobal>

#include <vector>

/**
 * A set of places of a list, from which the next one behind a given place is taken.
 *
 * A bit for each place, and above that levels with a bit for each 64 below that are not all clear: every step takes as
 * many steps as there are levels, three for ten thousand places, and most of them in memory that has just been used.
 */
class cPlaceSet
{
public:
    static constexpr int Absent = -1;

    /// An empty set of places from 0 to @p size - 1.
    explicit cPlaceSet(int size);

    void insert(int place);

    /// Removes the first place from @p from on. @return it; Absent when there is none.
    int takeFrom(int from);

private:
    int find(int from) const;
    void remove(int place);

    std::vector<std::vector<quint64>> m_levels;
};
