#include "services/cServiceMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonValue.h>

#include "log/cFrameworkLog.h"
#include "services/cMethodCall.h"

namespace {

std::atomic<cServiceMgr*> s_current{nullptr};

} // namespace

IServiceMgr::IServiceMgr() = default;

IServiceMgr::~IServiceMgr() = default;

IServiceMgr* IServiceMgr::instance()
{
    return cServiceMgr::current();
}

cServiceMgr::cServiceMgr() : m_log(cFrameworkLog::services())
{
    s_current.store(this, std::memory_order_release);
}

cServiceMgr::~cServiceMgr()
{
    cServiceMgr* self = this;
    s_current.compare_exchange_strong(self, nullptr);
    releaseAll();
}

cServiceMgr* cServiceMgr::current()
{
    return s_current.load(std::memory_order_acquire);
}

void cServiceMgr::setClosed()
{
    m_isClosed = true;
}

void cServiceMgr::releaseAll()
{
    m_services.clear();
    m_listeners.clear();
}

void cServiceMgr::verifyAPI(const QString& service_id, const QString& version)
{
    if (const QObject* service = m_services.object(service_id))
        verifyAPI2(service->metaObject(), version);
}

void cServiceMgr::verifyAPI2(const QMetaObject*, const QString&) {}

void cServiceMgr::registerService(QObject* pObject)
{
    if (!pObject || m_isClosed)
        return;
    const auto record = QSharedPointer<cServiceInstance>::create(pObject);
    if (record->name().isEmpty())
        return;
    m_services.insert(record);
    connect(pObject, &QObject::destroyed, this, &cServiceMgr::onServiceDestroyed, Qt::DirectConnection);
    announce(record->name());
}

void cServiceMgr::unregisterService(QObject* pObject)
{
    if (!pObject)
        return;
    if (m_services.take(cServiceInstance::idOf(pObject)))
        disconnect(pObject, &QObject::destroyed, this, &cServiceMgr::onServiceDestroyed);
}

bool cServiceMgr::invoke(const QString& serviceId, const QString& method, QGenericReturnArgument ret,
                         QGenericArgument val0, QGenericArgument val1, QGenericArgument val2, QGenericArgument val3,
                         QGenericArgument val4, QGenericArgument val5, QGenericArgument val6, QGenericArgument val7,
                         QGenericArgument val8, QGenericArgument val9)
{
    QObject* service = m_services.object(serviceId);
    const cMethodCall::Values values{val0, val1, val2, val3, val4, val5, val6, val7, val8, val9};
    const bool isCalled = service && cMethodCall(method, values).callDirectly(service, ret);
    if (!isCalled)
        warnOfFailedCall(serviceId, method);
    return isCalled;
}

bool cServiceMgr::invoke(const QString& serviceId, const QString& method, QGenericArgument val0, QGenericArgument val1,
                         QGenericArgument val2, QGenericArgument val3, QGenericArgument val4, QGenericArgument val5,
                         QGenericArgument val6, QGenericArgument val7, QGenericArgument val8, QGenericArgument val9)
{
    return cServiceMgr::invoke(serviceId, method, QGenericReturnArgument(), val0, val1, val2, val3, val4, val5, val6,
                               val7, val8, val9);
}

void cServiceMgr::addListener(const QString& eventset, QObject* pListener, const QString& prefix)
{
    if (!pListener || m_isClosed)
        return;
    m_listeners.add(QSharedPointer<cNotificationInstance>::create(eventset, pListener, prefix));
    connect(pListener, &QObject::destroyed, this, &cServiceMgr::onListenerDestroyed, Qt::DirectConnection);
}

void cServiceMgr::removeListener(const QString& eventset, QObject* pListener)
{
    // The watch exists only as long as a registration does, so a listener without one needs no disconnect: it may be
    // gone, and must not be followed.
    if (m_listeners.hasLiving(pListener))
        disconnect(pListener, &QObject::destroyed, this, &cServiceMgr::onListenerDestroyed);
    m_listeners.remove(eventset, pListener);
}

void cServiceMgr::notify(const QString& eventset, const QString& event, QGenericArgument val0, QGenericArgument val1,
                         QGenericArgument val2, QGenericArgument val3, QGenericArgument val4, QGenericArgument val5,
                         QGenericArgument val6, QGenericArgument val7, QGenericArgument val8, QGenericArgument val9)
{
    const cListenerRegistry::Records records = m_listeners.ofSet(eventset);
    if (records.isEmpty())
        return;
    const cMethodCall::Values values{val0, val1, val2, val3, val4, val5, val6, val7, val8, val9};
    const cMethodCall call(event, values);
    for (auto record = records.crbegin(); record != records.crend(); ++record) {
        if (QObject* listener = (*record)->target())
            call.deliver(listener, (*record)->prefix());
    }
}

bool cServiceMgr::serviceExists(const QString& serviceId)
{
    return m_services.contains(serviceId);
}

QStringList cServiceMgr::serviceList()
{
    return m_services.ids();
}

QObject* cServiceMgr::serviceFromServiceName(const QString& serviceId)
{
    return m_services.object(serviceId);
}

void cServiceMgr::onServiceDestroyed(QObject* object)
{
    unregisterService(object);
}

void cServiceMgr::onListenerDestroyed(QObject* object)
{
    m_listeners.removeEverywhere(object);
}

void cServiceMgr::announce(const QString& serviceId)
{
    cJsonValue message(ObjectType);
    message[QStringLiteral("command")] = QStringLiteral("NEWSERVICE");
    message[QStringLiteral("service_id")] = serviceId;
    Corvane::handleLocalSocketMessage(-1, message);
}

void cServiceMgr::warnOfFailedCall(const QString& serviceId, const QString& method) const
{
    QString reason = QStringLiteral("none is registered under this id");
    if (m_services.object(serviceId))
        reason = QStringLiteral("it has no such method for the given values");
    else if (m_services.contains(serviceId))
        reason = QStringLiteral("it has been destroyed without being unregistered");
    m_log.warning().noquote()
        << QStringLiteral("Cannot call \"%1\" of the service \"%2\": %3").arg(method, serviceId, reason) << Qt::endl;
}
