#pragma once

#include "services/cReadMostlyLock.h"

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

class cServiceInstance;

/**
 * The registered services by their ids, at most one an id. Any thread may use it.
 *
 * Only the registry's own data is touched under its lock; a record that is dropped is destroyed after it is released.
 */
class cServiceRegistry
{
public:
    /// Stores a record under its name, in the place of one that is there.
    void insert(const QSharedPointer<cServiceInstance>& record);
    /// @return the record that was stored under @p id; null when there was none.
    QSharedPointer<cServiceInstance> take(const QString& id);
    void clear();

    bool contains(const QString& id) const;
    /// The object registered under @p id; null when there is none, or when it is gone.
    QObject* object(const QString& id) const;
    /// All ids in ascending order.
    QStringList ids() const;

private:
    using Records = QMap<QString, QSharedPointer<cServiceInstance>>;
    using Index = QHash<QString, const cServiceInstance*>;

    mutable cReadMostlyLock m_lock; ///< guards both members below
    Records m_records;
    Index m_index; ///< the same records for look-ups whose cost does not grow with the number of services
};
