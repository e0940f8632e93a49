#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <atomic>

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
    cNotificationInstance(const QString& eventset, QObject* listener, const QString& prefix);

    const QString& eventset() const { return m_eventset; }
    const QString& prefix() const { return m_prefix; }
    /// The address of the listener, to be compared only; null once withdrawn.
    const QObject* address() const { return m_listener.load(std::memory_order_acquire); }
    /// The listener to call; null when it is withdrawn or gone.
    QObject* target() const { return address() ? m_guard.data() : nullptr; }

    void withdraw() { m_listener.store(nullptr, std::memory_order_release); }

private:
    const QString m_eventset;
    std::atomic<QObject*> m_listener;
    const QString m_prefix;
    const QPointer<QObject> m_guard;
};
