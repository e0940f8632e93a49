#include "plugins/cPlaceSet.h"

#include <QtCore/QtAlgorithms>

namespace {

constexpr int BitsShift = 6; // 64 bits in a word
constexpr int BitsMask = 63;

quint64 bitOf(int place)
{
    return quint64(1) << (place & BitsMask);
}

} // namespace

cPlaceSet::cPlaceSet(int size)
{
    do {
        size = (size + BitsMask) >> BitsShift;
        m_levels.emplace_back(size_t(size), 0);
    } while (size > 1);
}

void cPlaceSet::insert(int place)
{
    for (std::vector<quint64>& level : m_levels) {
        level[place >> BitsShift] |= bitOf(place);
        place >>= BitsShift;
    }
}

int cPlaceSet::takeFrom(int from)
{
    const int place = find(from);
    if (place != Absent)
        remove(place);
    return place;
}

// Up until a level has something behind the place, then down to the first place below that.
int cPlaceSet::find(int from) const
{
    for (size_t level = 0; level < m_levels.size(); ++level) {
        const size_t word = size_t(from) >> BitsShift;
        if (word >= m_levels[level].size())
            return Absent;
        const quint64 bits = m_levels[level][word] & (~quint64(0) << (from & BitsMask));
        if (bits == 0) {
            from = int(word) + 1;
            continue;
        }
        int place = int(word << BitsShift) + int(qCountTrailingZeroBits(bits));
        while (level-- > 0)
            place = (place << BitsShift) + int(qCountTrailingZeroBits(m_levels[level][place]));
        return place;
    }
    return Absent;
}

void cPlaceSet::remove(int place)
{
    for (std::vector<quint64>& level : m_levels) {
        quint64& word = level[place >> BitsShift];
        word &= ~bitOf(place);
        if (word != 0)
            return;
        place >>= BitsShift;
    }
}
