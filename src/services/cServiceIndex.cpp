#include "services/cServiceIndex.h"

#include "services/cServiceInstance.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t LeastPlaces = 16;

} // namespace

cServiceIndex::cServiceIndex() : m_places(LeastPlaces) {}

QSharedPointer<cServiceInstance> cServiceIndex::insert(const QSharedPointer<cServiceInstance>& record)
{
    const uint hash = qHash(record->name());
    Place& place = m_places[placeOf(record->name(), hash)];
    const Place superseded = std::exchange(place, {record->name(), record, hash});
    if (!superseded.record && ++m_count * 2 > m_places.size())
        grow();
    return superseded.record;
}

QSharedPointer<cServiceInstance> cServiceIndex::take(const QString& id)
{
    std::size_t free = placeOf(id, qHash(id));
    QSharedPointer<cServiceInstance> taken;
    taken.swap(m_places[free].record);
    if (!taken)
        return taken;
    --m_count;
    // What lies behind the new gap moves up into it, unless its own place lies behind the gap too: a search ends at a
    // free place, so there must be none between a record and the place that its hash names.
    for (std::size_t i = next(free); m_places[i].record; i = next(i)) {
        const std::size_t mask = m_places.size() - 1;
        if (((i - m_places[i].hash) & mask) < ((i - free) & mask))
            continue;
        m_places[free] = std::exchange(m_places[i], Place());
        free = i;
    }
    return taken;
}

QStringList cServiceIndex::ids() const
{
    QStringList ids;
    ids.reserve(int(m_count));
    for (const Place& place : m_places) {
        if (place.record)
            ids.append(place.id);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

void cServiceIndex::swap(cServiceIndex& other)
{
    m_places.swap(other.m_places);
    std::swap(m_count, other.m_count);
}

std::size_t cServiceIndex::placeOf(const QString& id, uint hash) const
{
    std::size_t place = hash & (m_places.size() - 1);
    while (m_places[place].record && (m_places[place].hash != hash || m_places[place].id != id))
        place = next(place);
    return place;
}

void cServiceIndex::grow()
{
    std::vector<Place> old(m_places.size() * 2);
    old.swap(m_places);
    for (Place& moved : old) {
        if (!moved.record)
            continue;
        std::size_t place = moved.hash & (m_places.size() - 1);
        while (m_places[place].record)
            place = next(place);
        m_places[place] = std::move(moved);
    }
}
