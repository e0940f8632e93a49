#include "isolation/cPluginServices.h"

#include "isolation/RemoteCalls.h"
#include "isolation/cRemoteService.h"
#include "log/cFrameworkLog.h"
#include "version/ForeignCode.h"
#include "version/MetaTypes.h"

#include <QtCore/QMetaMethod>

namespace {

cRemoteMethod describe(const QMetaMethod& method)
{
    cRemoteMethod described;
    described.name = method.name();
    described.resultType = method.typeName();
    described.types = method.parameterTypes();
    return described.resolve();
}

void write(const cRemoteMethod& method, cFrameWriter* frame)
{
    frame->bytes(method.name);
    frame->bytes(method.resultType);
    frame->number(quint32(method.types.size()));
    for (const QByteArray& type : method.types)
        frame->bytes(type);
}

} // namespace

cPluginServices::cPluginServices(cPluginLink& link, int limit)
    : m_link(link), m_limit(limit), m_log(cFrameworkLog::services())
{
}

bool cPluginServices::ask(cFrameWriter& frame, cFrameReader* answer, const QString& what)
{
    switch (m_link.request(frame, m_limit * 1000, answer)) {
    case cPluginLink::Answered:
        return true;
    case cPluginLink::TooLate:
        m_log.warning().noquote() << what << "has not been answered by the suite within" << m_limit << "s" << Qt::endl;
        return false;
    case cPluginLink::TooLarge:
        m_log.warning().noquote() << what << "is larger than" << MaxFrame / 1024 / 1024 << "MiB" << Qt::endl;
        return false;
    default:
        return false; // the suite is gone, and this process about to be
    }
}

void cPluginServices::registerService(QObject* pObject)
{
    const QString id = pObject ? cServiceInstance::idOf(pObject) : QString();
    if (id.isEmpty())
        return;
    Service service;
    cFrameWriter frame(FrameKind::Register);
    {
        const QMutexLocker locker(&m_lock);
        frame.number(quint32(m_services.size()));
        frame.text(id);
        if (!describe(*pObject, id, &service, &frame))
            return;
        m_services.append(service);
    }
    cServiceMgr::registerService(pObject);
    cFrameReader answer;
    ask(frame, &answer, QStringLiteral("The registration of the service \"%1\"").arg(id));
}

/// @return false when none of its methods could be called from the suite.
bool cPluginServices::describe(const QObject& object, const QString& id, Service* service, cFrameWriter* frame) const
{
    const QMetaObject& meta = *object.metaObject();
    QVector<cRemoteMethod> methods;
    int callable = 0;
    for (int i = QObject::staticMetaObject.methodCount(); i < meta.methodCount(); ++i) {
        methods.append(::describe(meta.method(i)));
        service->methods.append(i);
        const QByteArray& obstacle = methods.last().obstacle;
        callable += obstacle.isEmpty();
        if (!obstacle.isEmpty())
            m_log.warning().noquote()
                << QStringLiteral("\"%1\" of the service \"%2\" cannot be called from the suite: values of the type %3 "
                                  "cannot travel between processes")
                       .arg(QString::fromLatin1(methods.last().name), id, QString::fromLatin1(obstacle))
                << Qt::endl;
    }
    if (callable == 0 && !methods.isEmpty()) {
        m_log.error().noquote() << QStringLiteral("The service \"%1\" is not registered: none of its methods could be "
                                                  "called from the suite")
                                       .arg(id)
                                << Qt::endl;
        return false;
    }
    service->object = const_cast<QObject*>(&object);
    service->id = id;
    frame->number(quint32(methods.size()));
    for (const cRemoteMethod& method : qAsConst(methods))
        write(method, frame);
    return true;
}

void cPluginServices::unregisterService(QObject* pObject)
{
    const QString id = pObject ? cServiceInstance::idOf(pObject) : QString();
    cServiceMgr::unregisterService(pObject);
    QVector<int> numbers;
    {
        const QMutexLocker locker(&m_lock);
        for (int i = 0; i < m_services.size(); ++i) {
            if (!id.isEmpty() && m_services.at(i).id == id) {
                numbers.append(i);
                m_services[i] = Service();
            }
        }
    }
    for (int number : qAsConst(numbers)) {
        cFrameWriter frame(FrameKind::Unregister);
        frame.number(quint32(number));
        cFrameReader answer;
        ask(frame, &answer, QStringLiteral("The withdrawal of the service \"%1\"").arg(id));
    }
}

bool cPluginServices::invoke(const QString& serviceId, const QString& method, QGenericReturnArgument ret,
                             QGenericArgument val0, QGenericArgument val1, QGenericArgument val2, QGenericArgument val3,
                             QGenericArgument val4, QGenericArgument val5, QGenericArgument val6, QGenericArgument val7,
                             QGenericArgument val8, QGenericArgument val9)
{
    if (cServiceMgr::serviceExists(serviceId))
        return cServiceMgr::invoke(serviceId, method, ret, val0, val1, val2, val3, val4, val5, val6, val7, val8, val9);
    const QString what = QStringLiteral("The call of \"%1\" of the service \"%2\"").arg(method, serviceId);
    const QByteArray resultType = ret.name();
    const int type = FrameValues::typeOf(resultType);
    cFrameWriter frame(FrameKind::Invoke);
    frame.text(serviceId);
    frame.text(method);
    frame.bytes(resultType);
    QString reason = RemoteCalls::write({val0, val1, val2, val3, val4, val5, val6, val7, val8, val9}, &frame);
    if (!resultType.isEmpty() && !FrameValues::canTravel(type))
        reason = QStringLiteral("values of the type %1 cannot travel between processes")
                     .arg(QString::fromLatin1(resultType));
    if (!reason.isEmpty()) {
        tellFailedCall(QStringLiteral("%1 is not made: %2").arg(what, reason));
        return false;
    }
    cFrameReader answer;
    if (!ask(frame, &answer, what) || !answer.byte()) {
        noteFailedCall(QStringLiteral("%1 has failed in the suite, whose log tells why").arg(what));
        return false;
    }
    return !ret.data() || FrameValues::assign(type, ret.data(), answer.value());
}

bool cPluginServices::invoke(const QString& serviceId, const QString& method, QGenericArgument val0,
                             QGenericArgument val1, QGenericArgument val2, QGenericArgument val3, QGenericArgument val4,
                             QGenericArgument val5, QGenericArgument val6, QGenericArgument val7, QGenericArgument val8,
                             QGenericArgument val9)
{
    return cPluginServices::invoke(serviceId, method, QGenericReturnArgument(), val0, val1, val2, val3, val4, val5,
                                   val6, val7, val8, val9);
}

// The suite goes on sending once somebody has listened; an event without a listener does no harm.
void cPluginServices::addListener(const QString& eventset, QObject* pListener, const QString& prefix)
{
    if (!pListener)
        return;
    cServiceMgr::addListener(eventset, pListener, prefix);
    {
        const QMutexLocker locker(&m_lock);
        if (m_eventsets.contains(eventset))
            return;
        m_eventsets.insert(eventset);
    }
    cFrameWriter frame(FrameKind::Listen);
    frame.text(eventset);
    cFrameReader answer;
    ask(frame, &answer, QStringLiteral("Listening to \"%1\"").arg(eventset));
}

void cPluginServices::notify(const QString& eventset, const QString& event, QGenericArgument val0,
                             QGenericArgument val1, QGenericArgument val2, QGenericArgument val3, QGenericArgument val4,
                             QGenericArgument val5, QGenericArgument val6, QGenericArgument val7, QGenericArgument val8,
                             QGenericArgument val9)
{
    cServiceMgr::notify(eventset, event, val0, val1, val2, val3, val4, val5, val6, val7, val8, val9);
    cFrameWriter frame(FrameKind::Event);
    frame.text(eventset);
    frame.text(event);
    const QString reason = RemoteCalls::write({val0, val1, val2, val3, val4, val5, val6, val7, val8, val9}, &frame);
    if (reason.isEmpty())
        m_link.tell(frame);
    else
        m_log.warning().noquote()
            << QStringLiteral("The event \"%1\" of \"%2\" does not reach the suite: %3").arg(event, eventset, reason)
            << Qt::endl;
}

bool cPluginServices::serviceExists(const QString& serviceId)
{
    if (cServiceMgr::serviceExists(serviceId))
        return true;
    cFrameWriter frame(FrameKind::Exists);
    frame.text(serviceId);
    cFrameReader answer;
    return ask(frame, &answer, QStringLiteral("Asking for the service \"%1\"").arg(serviceId)) && answer.byte();
}

QStringList cPluginServices::serviceList()
{
    cFrameWriter frame(FrameKind::List);
    cFrameReader answer;
    if (!ask(frame, &answer, QStringLiteral("Asking for the services")))
        return cServiceMgr::serviceList();
    return answer.value().toStringList();
}

void cPluginServices::serveCall(cFrameReader& frame, cFrameWriter& answer)
{
    const auto refuse = [&](const QString& reason) {
        answer.clear();
        answer.byte(false);
        answer.text(reason);
    };
    const int number = int(frame.number()), index = int(frame.number());
    QObject* object = nullptr;
    int place = -1;
    {
        const QMutexLocker locker(&m_lock);
        if (number >= 0 && number < m_services.size()) {
            object = m_services.at(number).object;
            place = m_services.at(number).methods.value(index, -1);
        }
    }
    if (!object || place < 0)
        return refuse(QStringLiteral("it is no longer registered"));
    const QMetaMethod method = object->metaObject()->method(place);
    const int count = method.parameterCount();
    QVarLengthArray<QVariant, cMethodCall::MaxValues + 1> values(count + 1);
    QVarLengthArray<void*, cMethodCall::MaxValues + 1> places(count + 1);
    for (int i = 1; i <= count; ++i) {
        values[i] = frame.value();
        places[i] = FrameValues::placeOf(method.parameterType(i - 1), values[i]);
        if (!places[i] || !frame.isSound())
            return refuse(QStringLiteral("the values have not arrived as they were sent"));
    }
    const int type = method.returnType();
    const bool hasResult = type != QMetaType::Void && type != QMetaType::UnknownType;
    values[0] = hasResult && type != QMetaType::QVariant ? MetaTypes::value(type) : QVariant();
    places[0] = hasResult ? FrameValues::placeOf(type, values[0]) : nullptr;
    const QString thrown =
        whatIsThrownBy([&] { QMetaObject::metacall(object, QMetaObject::InvokeMetaMethod, place, places.data()); });
    if (!thrown.isEmpty())
        return refuse(QStringLiteral("it %1").arg(thrown));
    answer.byte(true);
    if (hasResult && !answer.value(values[0]))
        refuse(QStringLiteral("its result holds what cannot travel between processes, or is nested too deep"));
}

void cPluginServices::serveEvent(cFrameReader& frame)
{
    const QString eventset = frame.text();
    const QString event = frame.text();
    RemoteCalls::cReadValues values;
    if (!values.read(frame))
        return;
    const auto& v = values.values();
    cServiceMgr::notify(eventset, event, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9]);
}
