#include "isolation/cRemotePlugin.h"

#include "isolation/RemoteCalls.h"
#include "isolation/cRemoteService.h"
#include "log/cFrameworkLog.h"
#include "services/cServiceMgr.h"
#include "version/MetaTypes.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QThread>

/// Listens in the suite for a plugin of another process. What comes from that process does not go back to it.
class cRemotePlugin::cForwarder : public QObject, public IEventForwarder
{
public:
    explicit cForwarder(cRemotePlugin& plugin) : m_plugin(plugin) {}

    void forward(const QString& eventset, const QString& event, const cMethodCall::Values& values) override
    {
        m_plugin.sendEvent(eventset, event, values);
    }

private:
    cRemotePlugin& m_plugin;
};

cRemotePlugin::cRemotePlugin(const QString& id, int limit)
    : m_id(id), m_limit(limit), m_forwarder(new cForwarder(*this)), m_whyNot(QStringLiteral("%1 is not loaded").arg(id))
{
}

cRemotePlugin::~cRemotePlugin()
{
    disconnect(QString());
    withdrawAll();
}

void cRemotePlugin::connectTo(qintptr end, const std::function<void()>& whenClosed)
{
    m_whenClosed = whenClosed;
    const QSharedPointer<cPluginLink> link(new cPluginLink(end, cPluginLink::Side::Suite, *this),
                                           &QObject::deleteLater);
    const QMutexLocker locker(&m_lock);
    m_link = link;
    m_stale += m_services;
    m_services.clear();
}

void cRemotePlugin::disconnect(const QString& why)
{
    QSharedPointer<cPluginLink> link;
    QStringList eventsets;
    {
        const QMutexLocker locker(&m_lock);
        link.swap(m_link);
        eventsets.swap(m_eventsets);
        m_whyNot = why;
    }
    if (link)
        link->close();
    cServiceMgr* const services = cServiceMgr::current();
    for (const QString& eventset : qAsConst(eventsets)) {
        if (services)
            services->removeListener(eventset, m_forwarder.get());
    }
}

QSharedPointer<cPluginLink> cRemotePlugin::link(QString* why) const
{
    const QMutexLocker locker(&m_lock);
    *why = m_link ? QString() : m_whyNot;
    return m_link;
}

bool cRemotePlugin::request(cFrameWriter& frame, cFrameReader* answer, QString* reason)
{
    const QSharedPointer<cPluginLink> link = this->link(reason);
    if (!link)
        return false;
    switch (link->request(frame, m_limit * 1000, answer)) {
    case cPluginLink::Answered:
        if (answer->byte())
            return true;
        *reason = answer->text();
        return false;
    case cPluginLink::TooLate:
        *reason = QStringLiteral("%1 has not answered within %2 s").arg(m_id).arg(m_limit);
        return false;
    case cPluginLink::TooLarge:
        *reason = QStringLiteral("the values are larger than %1 MiB").arg(MaxFrame / 1024 / 1024);
        return false;
    case cPluginLink::Closed:
        break;
    }
    // Why it has ended is known to the main thread only.
    if (link->thread() == QThread::currentThread())
        link->serveQueued();
    if (this->link(reason))
        *reason = QStringLiteral("%1 has ended").arg(m_id);
    return false;
}

void cRemotePlugin::sendEvent(const QString& eventset, const QString& event, const cMethodCall::Values& values)
{
    QString why;
    const QSharedPointer<cPluginLink> link = this->link(&why);
    cFrameWriter frame(FrameKind::Event);
    frame.text(eventset);
    frame.text(event);
    if (!link)
        return;
    why = RemoteCalls::write(values, &frame);
    if (why.isEmpty())
        link->tell(frame);
    else
        cFrameworkLog::services().warning().noquote()
            << QStringLiteral("The event \"%1\" of \"%2\" does not reach %3: %4").arg(event, eventset, m_id, why)
            << Qt::endl;
}

void cRemotePlugin::onClosed()
{
    const std::function<void()> whenClosed = m_whenClosed;
    if (whenClosed)
        whenClosed();
}

void cRemotePlugin::serve(cFrameReader& frame, cFrameWriter& answer)
{
    switch (frame.kind()) {
    case FrameKind::Register:
        return addService(frame);
    case FrameKind::Unregister:
        return removeService(frame.number());
    case FrameKind::Invoke:
        return callService(frame, answer);
    case FrameKind::Exists:
        return answer.byte(cServiceMgr::current()->serviceExists(frame.text()));
    case FrameKind::List:
        Q_UNUSED(answer.value(cServiceMgr::current()->serviceList()))
        return;
    case FrameKind::Listen: {
        const QString eventset = frame.text();
        cServiceMgr::current()->addForwarder(eventset, m_forwarder.get(), m_forwarder.get());
        const QMutexLocker locker(&m_lock);
        m_eventsets.append(eventset);
        return;
    }
    case FrameKind::LoadPlugin: {
        const bool isService = frame.byte();
        const QString name = frame.text();
        return answer.byte(isService ? IPluginMgr::instance()->loadByService(name)
                                     : IPluginMgr::instance()->load(name));
    }
    case FrameKind::Event:
        return raise(frame);
    case FrameKind::Log:
        return log(frame);
    default: // nothing that a plugin may ask for
        return;
    }
}

void cRemotePlugin::addService(cFrameReader& frame)
{
    const quint32 number = frame.number();
    const QString id = frame.text();
    QVector<cRemoteMethod> methods;
    for (int left = frame.count(); left > 0 && frame.isSound(); --left) {
        cRemoteMethod method;
        method.name = frame.bytes();
        method.resultType = frame.bytes();
        for (int types = frame.count(); types > 0 && frame.isSound(); --types)
            method.types.append(frame.bytes());
        methods.append(method);
    }
    if (!frame.isSound())
        return;
    QSharedPointer<cRemoteService> service(new cRemoteService(shared_from_this(), id, methods), &QObject::deleteLater);
    {
        const QMutexLocker locker(&m_lock);
        // What stood for it before its process was started anew goes on standing for it.
        for (int i = m_stale.size() - 1; i >= 0; --i) {
            if (m_stale.at(i)->id() == id && m_stale.at(i)->metaObject() == service->metaObject())
                service = m_stale.takeAt(i);
        }
        service->setNumber(number);
        m_services.append(service);
    }
    if (cServiceMgr::current()->serviceFromServiceName(id) == service.data())
        return;
    service->moveToThread(m_forwarder->thread());
    cServiceMgr::current()->registerService(service.data());
}

void cRemotePlugin::removeService(quint32 number)
{
    QSharedPointer<cRemoteService> removed;
    {
        const QMutexLocker locker(&m_lock);
        for (int i = m_services.size() - 1; i >= 0; --i) {
            if (m_services.at(i)->number() == number)
                removed = m_services.takeAt(i);
        }
    }
    if (removed)
        withdraw(removed);
}

// Another one may have superseded it. The object is kept: some thread may be calling it.
void cRemotePlugin::withdraw(const QSharedPointer<cRemoteService>& service)
{
    {
        const QMutexLocker locker(&m_lock);
        m_withdrawn.append(service);
    }
    cServiceMgr* const services = cServiceMgr::current();
    if (services && services->serviceFromServiceName(service->id()) == service.data())
        services->unregisterService(service.data());
}

void cRemotePlugin::withdrawStale()
{
    QVector<QSharedPointer<cRemoteService>> stale;
    {
        const QMutexLocker locker(&m_lock);
        stale.swap(m_stale);
    }
    for (const auto& service : qAsConst(stale))
        withdraw(service);
}

void cRemotePlugin::withdrawAll()
{
    {
        const QMutexLocker locker(&m_lock);
        m_stale += m_services;
        m_services.clear();
    }
    withdrawStale();
}

void cRemotePlugin::callService(cFrameReader& frame, cFrameWriter& answer)
{
    const QString service = frame.text();
    const QString method = frame.text();
    const QByteArray resultType = frame.bytes();
    RemoteCalls::cReadValues values;
    const int type = FrameValues::typeOf(resultType);
    QVariant result = type == QMetaType::QVariant ? QVariant() : MetaTypes::value(type);
    if (!values.read(frame))
        return answer.byte(false);
    const QGenericReturnArgument returned =
        resultType.isEmpty() ? QGenericReturnArgument()
                             : QGenericReturnArgument(resultType.constData(), FrameValues::placeOf(type, result));
    const auto& v = values.values();
    const bool isCalled = cServiceMgr::current()->invoke(service, method, returned, v[0], v[1], v[2], v[3], v[4], v[5],
                                                         v[6], v[7], v[8], v[9]);
    answer.byte(isCalled);
    if (!isCalled || resultType.isEmpty() || answer.value(result))
        return;
    cFrameworkLog::services().warning().noquote()
        << QStringLiteral("The result of \"%1\" of the service \"%2\" cannot travel to %3: %4")
               .arg(method, service, m_id, QStringLiteral("it holds what cannot, or is nested too deep"))
        << Qt::endl;
    answer.clear();
    answer.byte(false);
}

void cRemotePlugin::raise(cFrameReader& frame)
{
    const QString eventset = frame.text();
    const QString event = frame.text();
    RemoteCalls::cReadValues values;
    if (values.read(frame))
        cServiceMgr::current()->notifyFrom(m_forwarder.get(), eventset, event, values.values());
}

void cRemotePlugin::log(cFrameReader& frame)
{
    const cLog channel = cLogCentral::log(frame.text());
    const int level = frame.byte();
    const QString text = frame.text();
    if (level == debugError)
        channel.error().noquote().nospace() << text << Qt::flush;
    else if (level == debugWarning)
        channel.warning().noquote().nospace() << text << Qt::flush;
    else
        channel.info().noquote().nospace() << text << Qt::flush;
}
