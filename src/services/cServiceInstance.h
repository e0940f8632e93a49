#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

/**
 * One registered service. It never changes after its construction, so any thread may read it.
 *
 * The object is not owned. It is held by a guarded pointer beside its address: once it is destroyed, `guard()` is
 * null.
 */
class cServiceInstance : public QObject
{
    Q_OBJECT

public:
    explicit cServiceInstance(QObject* service);

    const QString& name() const { return m_name; }
    /// The service; null once it is gone.
    const QPointer<QObject>& guard() const { return m_guard; }
    /// The address of the service, to be compared only: it stays when the service is gone.
    const QObject* address() const { return m_service; }
    bool isThreadSafe() const { return m_isThreadSafe; }

    /// The id under which an object of this class is published; empty when its class names none.
    static QString idOf(const QObject* object);

    /// The value that the class of @p object declares under @p key: the first entry counted from the root class, so
    /// that a base class's entry wins over a derived one's. Empty when there is none.
    static QString classInformation(const QObject* object, const char* key);

private:
    const QString m_name;
    QObject* const m_service;
    const bool m_isThreadSafe;
    const QPointer<QObject> m_guard;
};
