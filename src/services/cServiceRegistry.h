#pragma once

#include "services/cServiceIndex.h"

#include <QtCore/QPointer>
#include <QtCore/QReadWriteLock>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <atomic>

class QObject;
class cServiceInstance;

/**
 * The registered services by their ids, at most one an id. Any thread may use it.
 *
 * Only the registry's own data is touched under its lock; a record that is dropped is destroyed after it is released.
 * A look-up that the thread has done before, with nothing changed since, takes no lock.
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
    static quint64 nextState();
    /// The guarded object of the record of @p id. The lock is held.
    QPointer<QObject> find(const QString& id) const;

    mutable QReadWriteLock m_lock; ///< guards the members below
    cServiceIndex m_records;
    /// The number of the present state, changed under the lock for writing; threads compare it with what they remember.
    std::atomic<quint64> m_state{nextState()};
};
