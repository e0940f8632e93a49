#pragma once

#include "config/cVersionKey.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QSharedPointer>

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

    const QList<Pointer>& list() const { return m_list; }

    void append(const Pointer& record)
    {
        m_list.append(record);
        if (m_list.size() == SearchedLength + 1)
            addToIndex(m_list);
        else if (m_list.size() > SearchedLength)
            addToIndex({record});
    }

    /// The first record with this name; null when none.
    Pointer find(const QString& name) const
    {
        if (m_list.size() > SearchedLength)
            return m_byName.value(name);
        return search([&](const Record& record) { return record.name() == name; });
    }

    /// The first record with this name and all three version components equal; null when none.
    Pointer find(const QString& name, const cVersion& version) const
    {
        if (m_list.size() > SearchedLength)
            return m_byVersion.value({name, version});
        return search([&](const Record& record) { return record.name() == name && record.version() == version; });
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

    void addToIndex(const QList<Pointer>& records)
    {
        for (const Pointer& record : records) {
            if (!m_byName.contains(record->name()))
                m_byName.insert(record->name(), record);
            const cVersionKey key{record->name(), record->version()};
            if (!m_byVersion.contains(key))
                m_byVersion.insert(key, record);
        }
    }

    template <typename Predicate>
    Pointer search(Predicate isMatch) const
    {
        for (const Pointer& record : m_list) {
            if (isMatch(*record))
                return record;
        }
        return Pointer();
    }

    QList<Pointer> m_list;
    QHash<QString, Pointer> m_byName;
    QHash<cVersionKey, Pointer> m_byVersion;
};
