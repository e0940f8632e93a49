#pragma once

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QReadWriteLock>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

class QObject;
class cNotificationInstance;

/**
 * The registrations of listeners, by event set. Any thread may use it.
 *
 * Only the registry's own data is touched under its lock; addresses of listeners are compared, never followed.
 */
class cListenerRegistry
{
public:
    using Record = QSharedPointer<cNotificationInstance>;
    using Records = QVector<Record>;

    void add(const Record& record);
    /// Withdraws every registration of @p listener in @p eventset.
    void remove(const QString& eventset, const QObject* listener);
    /// Withdraws every registration of @p listener.
    void removeEverywhere(const QObject* listener);
    void clear();

    /// The registrations of one set, the one added last at the end. The copy shares its data, which a later change
    /// leaves as it is.
    Records ofSet(const QString& eventset) const;
    /// Whether @p listener is registered somewhere and has not been destroyed, so that its address may be followed.
    bool hasLiving(const QObject* listener) const;

private:
    void withdrawAll(const Records& records);
    void removeFromSet(const Record& record);

    mutable QReadWriteLock m_lock; ///< guards both members below
    QMap<QString, Records> m_sets;
    QHash<const QObject*, Records> m_ofListener; ///< the same records, so that a listener is found without a search
};
