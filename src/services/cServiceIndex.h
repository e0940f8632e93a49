#pragma once

#include <QtCore/QHash>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

class cServiceInstance;

/**
 * Holds the records and finds each by its id, at most one an id. It is not locked.
 *
 * A table of places of its own, twice as many as records at least: a record lies at the first free place from the one
 * that the hash of its id names. The hash and the id are kept beside it, so a look-up touches the table, which is
 * small, and then only what it is about, however many there are: the id and the record, neither of which has to be
 * fetched before the other.
 */
class cServiceIndex
{
public:
    cServiceIndex();

    const cServiceInstance* find(const QString& id) const { return m_places[placeOf(id, qHash(id))].record.data(); }
    /// Enters @p record under its name. @return the one that it supersedes, null when there was none.
    QSharedPointer<cServiceInstance> insert(const QSharedPointer<cServiceInstance>& record);
    /// @return the record that was there under @p id; null when there was none.
    QSharedPointer<cServiceInstance> take(const QString& id);
    /// All ids in ascending order. They are put in order when they are asked for: that is seldom, and an order kept at
    /// every registration would cost the more the more services there are.
    QStringList ids() const;
    void swap(cServiceIndex& other);

private:
    struct Place
    {
        QString id;
        QSharedPointer<cServiceInstance> record; ///< null for a free place
        uint hash = 0;
    };

    std::size_t next(std::size_t place) const { return (place + 1) & (m_places.size() - 1); }
    /// Where the record of this name is, or else would be entered.
    std::size_t placeOf(const QString& id, uint hash) const;
    void grow();

    std::vector<Place> m_places; ///< their number is a power of two
    std::size_t m_count = 0;
};
