#pragma once

#include "config/cVersionKey.h"
#include "core/cHashSlots.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

/**
 * A list of shared records in order, with an index beside it, so that a lookup by name, or by name and version, costs
 * the same however long the list is and still answers the first record in list order.
 *
 * A record has `name()` and `version()`, which never change while it is in the list.
 */
template <typename Record>
class cNamedIndex
{
public:
    using Pointer = QSharedPointer<Record>;

    const QVector<Pointer>& list() const { return m_list; }

    void append(const Pointer& record)
    {
        m_list.append(record);
        if (m_list.size() <= SearchedLength)
            return;
        if (m_list.size() == SearchedLength + 1) {
            for (int place = 0; place < SearchedLength; ++place)
                addToIndex(place);
        }
        addToIndex(m_list.size() - 1);
    }

    /// The first record with this name; null when none.
    Pointer find(const QString& name) const
    {
        if (m_list.size() <= SearchedLength)
            return search([&](const Record& record) { return record.name() == name; });
        return recordAt(findPlace(name, cHashSlots::hash(name)));
    }

    /// The first record with this name and all three version components equal; null when none.
    Pointer find(const QString& name, const cVersion& version) const
    {
        if (m_list.size() <= SearchedLength)
            return search([&](const Record& record) { return record.name() == name && record.version() == version; });
        const cVersionKey key{name, version};
        return recordAt(findPlace(key, qHash(key, cHashSlots::seed())));
    }

    void clear()
    {
        m_list.clear();
        m_byName.clear();
        m_byVersion.clear();
    }

private:
    /// Up to this length a list is searched: most features have a few plugins, and an index for each would take more
    /// memory than the records.
    static constexpr int SearchedLength = 8;

    int findPlace(const QString& name, uint hash) const
    {
        return m_byName.find(hash, [&](int place) { return m_list.at(place)->name() == name; });
    }

    int findPlace(const cVersionKey& key, uint hash) const
    {
        return m_byVersion.find(hash, [&](int place) {
            const Record& record = *m_list.at(place);
            return record.version() == key.version && record.name() == key.name;
        });
    }

    void addToIndex(int place)
    {
        const cVersionKey key{m_list.at(place)->name(), m_list.at(place)->version()};
        const uint nameHash = cHashSlots::hash(key.name);
        if (findPlace(key.name, nameHash) == cHashSlots::Absent)
            m_byName.insert(nameHash, place);
        const uint versionHash = qHash(key, cHashSlots::seed());
        if (findPlace(key, versionHash) == cHashSlots::Absent)
            m_byVersion.insert(versionHash, place);
    }

    Pointer recordAt(int place) const { return place == cHashSlots::Absent ? Pointer() : m_list.at(place); }

    template <typename Predicate>
    Pointer search(Predicate isMatch) const
    {
        for (const Pointer& record : m_list) {
            if (isMatch(*record))
                return record;
        }
        return Pointer();
    }

    QVector<Pointer> m_list;
    cHashSlots m_byName;
    cHashSlots m_byVersion;
};
