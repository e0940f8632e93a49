#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>

#include <vector>

class cServiceInstance;

/**
 * Finds a record by its id. It does not own the records, and is not locked.
 *
 * A table of places of its own, twice as many as records at least: a record lies at the first free place from the one
 * that the hash of its id names. The hash is kept beside it, so a look-up touches the table, which is small, and then
 * only the record that it is about, however many there are.
 */
class cServiceIndex
{
public:
    cServiceIndex();

    const cServiceInstance* find(const QString& id) const { return m_places[placeOf(id, qHash(id))].record; }
    /// Enters @p record under its name, in the place of one that is there.
    void insert(const cServiceInstance* record);
    /// @return whether there was a record of this name.
    bool remove(const QString& id);
    void clear();

private:
    struct Place
    {
        uint hash = 0;
        const cServiceInstance* record = nullptr; ///< null for a free place
    };

    std::size_t next(std::size_t place) const { return (place + 1) & (m_places.size() - 1); }
    /// Where the record of this name is, or else would be entered.
    std::size_t placeOf(const QString& id, uint hash) const;
    void grow();

    std::vector<Place> m_places; ///< their number is a power of two
    std::size_t m_count = 0;
};
