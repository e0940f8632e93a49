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
        const cVersionKey key{record->name(), record->version()};
        if (!m_byName.contains(key.name))
            m_byName.insert(key.name, record);
        if (!m_byVersion.contains(key))
            m_byVersion.insert(key, record);
    }

    /// The first record with this name; null when none.
    Pointer find(const QString& name) const { return m_byName.value(name); }

    /// The first record with this name and all three version components equal; null when none.
    Pointer find(const QString& name, const cVersion& version) const { return m_byVersion.value({name, version}); }

    void clear()
    {
        m_list.clear();
        m_byName.clear();
        m_byVersion.clear();
    }

private:
    QList<Pointer> m_list;
    QHash<QString, Pointer> m_byName;
    QHash<cVersionKey, Pointer> m_byVersion;
};
