#include "services/cServiceIndex.h"

#include "services/cServiceInstance.h"

namespace {

constexpr std::size_t LeastPlaces = 16;

} // namespace

cServiceIndex::cServiceIndex() : m_places(LeastPlaces) {}

void cServiceIndex::insert(const cServiceInstance* record)
{
    const uint hash = qHash(record->name());
    Place& place = m_places[placeOf(record->name(), hash)];
    const bool isNew = !place.record;
    place = {hash, record};
    if (isNew && ++m_count * 2 > m_places.size())
        grow();
}

bool cServiceIndex::remove(const QString& id)
{
    std::size_t free = placeOf(id, qHash(id));
    if (!m_places[free].record)
        return false;
    m_places[free].record = nullptr;
    --m_count;
    // What lies behind the new gap moves up into it, unless its own place lies behind the gap too: a search ends at a
    // free place, so there must be none between a record and the place that its hash names.
    for (std::size_t i = next(free); m_places[i].record; i = next(i)) {
        const std::size_t mask = m_places.size() - 1;
        if (((i - m_places[i].hash) & mask) < ((i - free) & mask))
            continue;
        m_places[free] = m_places[i];
        m_places[i].record = nullptr;
        free = i;
    }
    return true;
}

void cServiceIndex::clear()
{
    m_places.assign(LeastPlaces, Place());
    m_count = 0;
}

std::size_t cServiceIndex::placeOf(const QString& id, uint hash) const
{
    std::size_t place = hash & (m_places.size() - 1);
    while (m_places[place].record && (m_places[place].hash != hash || m_places[place].record->name() != id))
        place = next(place);
    return place;
}

void cServiceIndex::grow()
{
    std::vector<Place> old(m_places.size() * 2);
    old.swap(m_places);
    for (const Place& moved : old) {
        if (!moved.record)
            continue;
        std::size_t place = moved.hash & (m_places.size() - 1);
        while (m_places[place].record)
            place = next(place);
        m_places[place] = moved;
    }
}
