#pragma once

#include <Norvale/IServiceMgr.h>
#include <Norvale/cLog.h>

#include "services/cListenerRegistry.h"
#include "services/cMethodCall.h"
#include "services/cServiceRegistry.h"

#include <QtCore/QHash>
#include <QtCore/QMutex>

#include <atomic>

/**
 * The service manager: registers, looks up and calls services, and delivers events to listeners.
 *
 * No lock is held while foreign code runs: service methods, listeners, message handlers, and the connect and disconnect
 * notifications of a QObject. What such code throws ends here, and is logged with the one that threw. What a registered
 * object does when it is destroyed reaches the manager directly, in the thread that destroys it and before its address
 * can be used again.
 *
 * Calls with fewer than ten values go through `IServiceMgr`, which declares the shorter forms.
 */
class cServiceMgr : public IServiceMgr
{
    Q_OBJECT

public:
    /// Becomes the manager that `IServiceMgr::instance()` answers, until it is destroyed.
    cServiceMgr();
    ~cServiceMgr() override;

    /// The manager of the process; null when there is none.
    static cServiceMgr* current();

    /// From now on registerService and addListener do nothing; calls and events go on. It is not taken back.
    void setClosed();
    /// Drops every service and listener record. The objects are not touched.
    void releaseAll();
    /// Withdraws the services and listeners whose code lies in @p image, which is about to be unloaded.
    /// @return what they were, for the log.
    QStringList withdraw(const cCodeImage& image);

    /// Has the events of a set forwarded, in the order of the listeners. @p listener is the object of @p forwarder; it
    /// is removed with removeListener(), before it is destroyed.
    void addForwarder(const QString& eventset, QObject* listener, IEventForwarder* forwarder);
    /// As notify(), but does not send the event back to @p origin, from where it has come.
    void notifyFrom(const IEventForwarder* origin, const QString& eventset, const QString& event,
                    const cMethodCall::Values& values);

    void verifyAPI(const QString& service_id, const QString& version) override;
    void verifyAPI2(const QMetaObject* pMO, const QString& version) override;
    void registerService(QObject* pObject) override;
    void unregisterService(QObject* pObject) override;
    bool invoke(const QString& serviceId, const QString& method, QGenericReturnArgument ret, QGenericArgument val0,
                QGenericArgument val1, QGenericArgument val2, QGenericArgument val3, QGenericArgument val4,
                QGenericArgument val5, QGenericArgument val6, QGenericArgument val7, QGenericArgument val8,
                QGenericArgument val9) override;
    bool invoke(const QString& serviceId, const QString& method, QGenericArgument val0, QGenericArgument val1,
                QGenericArgument val2, QGenericArgument val3, QGenericArgument val4, QGenericArgument val5,
                QGenericArgument val6, QGenericArgument val7, QGenericArgument val8, QGenericArgument val9) override;
    void addListener(const QString& eventset, QObject* pListener, const QString& prefix) override;
    void removeListener(const QString& eventset, QObject* pListener) override;
    void notify(const QString& eventset, const QString& event, QGenericArgument val0, QGenericArgument val1,
                QGenericArgument val2, QGenericArgument val3, QGenericArgument val4, QGenericArgument val5,
                QGenericArgument val6, QGenericArgument val7, QGenericArgument val8, QGenericArgument val9) override;
    bool serviceExists(const QString& serviceId) override;
    QStringList serviceList() override;
    QObject* serviceFromServiceName(const QString& serviceId) override;
    QString lastError() const override;

    /// Logs why a call of this thread has failed, and keeps it for lastError().
    static void tellFailedCall(const QString& text);
    /// Keeps it for lastError() only.
    static void noteFailedCall(const QString& text);

    /// What calls of @p serviceId are answered until one is registered under that id; empty for nothing in particular.
    void setWhyAbsent(const QString& serviceId, const QString& reason);

public Q_SLOTS:
    /// Unregisters a service that is being destroyed, if its class still tells its id at that moment.
    void onServiceDestroyed(QObject* object);
    /// Withdraws every registration of a listener that is being destroyed.
    void onListenerDestroyed(QObject* object);

private:
    static void announce(const QString& serviceId);
    bool withdraw(const cServiceRegistry::Record& record, const cServiceRegistry::Record& before);
    void forgetService(const cServiceInstance& record);
    void forgetListener(const cNotificationInstance& record);
    QString reasonOfFailedCall(const QString& serviceId, const QString& method, const cMethodCall::Values& values,
                               const QGenericReturnArgument& result) const;
    QString whyAbsent(const QString& serviceId) const;

    cServiceRegistry m_services;
    cListenerRegistry m_listeners;
    mutable QMutex m_absentLock; // guards what follows
    QHash<QString, QString> m_whyAbsent;
    const cLog m_log;
    std::atomic<bool> m_isClosed{false};
};
