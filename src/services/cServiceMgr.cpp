#include "services/cServiceMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonValue.h>

#include "guard/cMainCall.h"
#include "log/cFrameworkLog.h"
#include "version/ForeignCode.h"
#include "version/cCodeImage.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThreadStorage>

namespace {

std::atomic<cServiceMgr*> s_current{nullptr};

/// Qt destroys it with its thread; see cLastFound.
QThreadStorage<QString>& lastErrorOfThread()
{
    static QThreadStorage<QString> error;
    return error;
}

QString textOf(const cServiceInstance& service)
{
    return QStringLiteral("the service \"%1\"").arg(service.name());
}

QString textOf(const cNotificationInstance& listener)
{
    return QStringLiteral("a listener of \"%1\"").arg(listener.eventset());
}

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
    const QMutexLocker locker(&m_absentLock);
    m_whyAbsent.clear();
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
    const cServiceRegistry::Record before = m_services.insert(record);
    if (cStartJournal::isOpen())
        cStartJournal::note(record->code(), [=] { return withdraw(record, before) ? textOf(*record) : QString(); });
    setWhyAbsent(record->name(), QString());
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
    try {
        const cMainCall noted(service);
        if (service && cMethodCall(method, values).callDirectly(service, ret))
            return true;
    } catch (const cMethodCall::FailedElsewhere&) {
        return false;
    } catch (...) {
        const QString text = QStringLiteral("The service \"%1\" %2 in \"%3\"").arg(serviceId, whatWasThrown(), method);
        noteFailedCall(text);
        m_log.error().noquote() << text << Qt::endl;
        return false;
    }
    tellFailedCall(QStringLiteral("Cannot call \"%1\" of the service \"%2\": %3")
                       .arg(method, serviceId, reasonOfFailedCall(serviceId, method, values, ret)));
    return false;
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
    if (!cMethodCall::hasMethod(pListener, prefix))
        m_log.warning().noquote() << QStringLiteral("A listener of \"%1\", a %2, hears nothing: none of its slots and "
                                                    "Q_INVOKABLE methods has a name that begins with \"%3\"")
                                         .arg(eventset, QLatin1String(pListener->metaObject()->className()), prefix)
                                  << Qt::endl;
    const auto record = cListenerRegistry::Record::create(eventset, pListener, prefix);
    m_listeners.add(record);
    if (cStartJournal::isOpen()) {
        cStartJournal::note(record->code(), [=] {
            const bool isWithdrawn = m_listeners.remove(record);
            forgetListener(*record);
            return isWithdrawn ? textOf(*record) : QString();
        });
    }
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
    notifyFrom(nullptr, eventset, event, {val0, val1, val2, val3, val4, val5, val6, val7, val8, val9});
}

void cServiceMgr::notifyFrom(const IEventForwarder* origin, const QString& eventset, const QString& event,
                             const cMethodCall::Values& values)
{
    const cListenerRegistry::Records records = m_listeners.ofSet(eventset);
    if (records.isEmpty())
        return;
    const cMethodCall call(event, values);
    for (auto record = records.crbegin(); record != records.crend(); ++record) {
        QObject* const listener = (*record)->target();
        if (!listener)
            continue;
        if (IEventForwarder* const forwarder = (*record)->forwarder()) {
            if (forwarder != origin)
                forwarder->forward(eventset, event, values);
            continue;
        }
        call.deliver(listener, (*record)->prefix(), m_log);
    }
}

void cServiceMgr::addForwarder(const QString& eventset, QObject* listener, IEventForwarder* forwarder)
{
    if (!m_isClosed)
        m_listeners.add(cListenerRegistry::Record::create(eventset, listener, QString(), forwarder));
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

QStringList cServiceMgr::withdraw(const cCodeImage& image)
{
    QStringList withdrawn;
    for (const cServiceRegistry::Record& record : m_services.takeOf(image)) {
        forgetService(*record);
        withdrawn.append(textOf(*record));
    }
    for (const cListenerRegistry::Record& record : m_listeners.removeOf(image)) {
        forgetListener(*record);
        withdrawn.append(textOf(*record));
    }
    return withdrawn;
}

QStringList cServiceMgr::registeredIn(const cCodeImage& image) const
{
    QStringList texts;
    for (const cServiceRegistry::Record& record : m_services.of(image))
        texts.append(textOf(*record));
    return texts;
}

/// Withdraws a service, and puts the one that it has superseded back in its place, if that still exists.
bool cServiceMgr::withdraw(const cServiceRegistry::Record& record, const cServiceRegistry::Record& before)
{
    const bool isBack = before && before->service();
    const bool isWithdrawn = m_services.withdraw(record, isBack ? before : cServiceRegistry::Record());
    forgetService(*record);
    return isWithdrawn;
}

// A connection that is left would have the object's code called when the manager goes.
void cServiceMgr::forgetService(const cServiceInstance& record)
{
    QObject* const service = record.service();
    if (service && m_services.object(record.name()) != service)
        disconnect(service, &QObject::destroyed, this, &cServiceMgr::onServiceDestroyed);
}

// So would an event that waits for it.
void cServiceMgr::forgetListener(const cNotificationInstance& record)
{
    QObject* const listener = record.guard();
    if (!listener || m_listeners.hasLiving(listener))
        return;
    disconnect(listener, &QObject::destroyed, this, &cServiceMgr::onListenerDestroyed);
    QCoreApplication::removePostedEvents(listener, QEvent::MetaCall);
}

QString cServiceMgr::lastError() const
{
    return lastErrorOfThread().localData();
}

void cServiceMgr::tellFailedCall(const QString& text)
{
    noteFailedCall(text);
    cFrameworkLog::services().warning().noquote() << text << Qt::endl;
}

void cServiceMgr::noteFailedCall(const QString& text)
{
    lastErrorOfThread().setLocalData(text);
}

void cServiceMgr::setWhyAbsent(const QString& serviceId, const QString& reason)
{
    const QMutexLocker locker(&m_absentLock);
    if (reason.isEmpty())
        m_whyAbsent.remove(serviceId);
    else
        m_whyAbsent.insert(serviceId, reason);
}

QString cServiceMgr::whyAbsent(const QString& serviceId) const
{
    const QMutexLocker locker(&m_absentLock);
    return m_whyAbsent.value(serviceId, QStringLiteral("none is registered under this id"));
}

QString cServiceMgr::reasonOfFailedCall(const QString& serviceId, const QString& method,
                                        const cMethodCall::Values& values, const QGenericReturnArgument& result) const
{
    const QObject* const service = m_services.object(serviceId);
    if (service)
        return cMethodCall(method, values).whyNot(service, method, result);
    if (m_services.contains(serviceId))
        return QStringLiteral("it has been destroyed without being unregistered");
    return whyAbsent(serviceId);
}
