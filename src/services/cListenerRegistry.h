#pragma once

#include "services/cLastFound.h"
#include "services/cMethodCall.h"
#include "version/FlatMap.h"
#include "version/cCodeImage.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <atomic>

/// A listener that stands for those of another process: it is told of every event of a set, and sends it there.
class IEventForwarder
{
public:
    virtual void forward(const QString& eventset, const QString& event, const cMethodCall::Values& values) = 0;

protected:
    ~IEventForwarder() = default;
};

/**
 * One registration of a listener for an event set. Any thread may read it, and withdraw it.
 *
 * The listener is not owned. It is held by a guarded pointer beside its address, so that a registration which outlives
 * its listener is skipped.
 */
class cNotificationInstance : public QObject
{
    Q_OBJECT

public:
    cNotificationInstance(const QString& eventset, QObject* listener, const QString& prefix,
                          IEventForwarder* forwarder = nullptr);

    const QString& eventset() const { return m_eventset; }
    const QString& prefix() const { return m_prefix; }
    /// The address of the listener, to be compared only; null once withdrawn.
    const QObject* address() const { return m_listener.load(std::memory_order_acquire); }
    /// The listener to call; null when it is withdrawn or gone.
    QObject* target() const { return address() ? m_guard.data() : nullptr; }
    /// The listener, also when it is withdrawn; null when it is gone.
    const QPointer<QObject>& guard() const { return m_guard; }
    /// The listener itself, when it is one that forwards; else null.
    IEventForwarder* forwarder() const { return m_forwarder; }
    /// Where the code of the listener's class lies; see cCodeImage.
    const void* code() const { return m_code; }

    void withdraw() { m_listener.store(nullptr, std::memory_order_release); }

private:
    const QString m_eventset;
    std::atomic<QObject*> m_listener;
    const QString m_prefix;
    const QPointer<QObject> m_guard;
    IEventForwarder* const m_forwarder;
    const void* const m_code;
};

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
    /// Withdraws that very registration. False when it has been already.
    bool remove(const Record& record);
    /// Withdraws every registration of a listener whose code lies in @p image. @return the registrations.
    Records removeOf(const cCodeImage& image);
    /// Withdraws every registration of @p listener.
    void removeEverywhere(const QObject* listener);
    void clear();

    /// The registrations of one set, the one added last at the end. The copy shares its data, which a later change
    /// leaves as it is.
    Records ofSet(const QString& eventset) const;
    /// Whether @p listener is registered somewhere and has not been destroyed, so that its address may be followed.
    bool hasLiving(const QObject* listener) const;

private:
    template <typename Wanted>
    Records take(const QObject* listener, Wanted isWanted);
    void withdrawAll(const Records& records);

    cIndexLock m_lock; // guards both members below
    FlatMap<QString, Records> m_sets;
    FlatMap<const QObject*, Records> m_ofListener; // the same records, so that a listener is found without a search
};
