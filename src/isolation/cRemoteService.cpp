#include "isolation/cRemoteService.h"

#include "isolation/Frames.h"
#include "isolation/cMetaTables.h"
#include "isolation/cRemotePlugin.h"
#include "services/cServiceMgr.h"

#include <QtCore/QHash>
#include <QtCore/QMetaMethod>
#include <QtCore/QMutex>

namespace {

QByteArray keyOf(const QString& id, const QVector<cRemoteMethod>& methods)
{
    QByteArray key = id.toUtf8();
    for (const cRemoteMethod& method : methods)
        key += '\n' + method.resultType + ' ' + method.name + '(' + method.types.join(',') + ')';
    return key;
}

} // namespace

cRemoteMethod& cRemoteMethod::resolve()
{
    resultId = resultType.isEmpty() ? int(QMetaType::Void) : FrameValues::typeOf(resultType);
    if (resultId != QMetaType::Void && !FrameValues::canTravel(resultId))
        obstacle = resultType;
    for (const QByteArray& type : qAsConst(types)) {
        ids.append(FrameValues::typeOf(type));
        if (obstacle.isEmpty() && !FrameValues::canTravel(ids.last()))
            obstacle = type;
    }
    return *this;
}

const QMetaObject* cRemoteService::metaObjectOf(const QString& id, const QVector<cRemoteMethod>& methods)
{
    static QMutex lock;
    static auto* const made = new QHash<QByteArray, const cMetaTables*>;
    const QMutexLocker locker(&lock);
    const cMetaTables*& tables = (*made)[keyOf(id, methods)];
    if (!tables)
        tables = new cMetaTables("cRemoteService", id.toLatin1(), methods);
    return tables->metaObject();
}

cRemoteService::cRemoteService(const std::shared_ptr<cRemotePlugin>& plugin, const QString& id,
                               const QVector<cRemoteMethod>& methods)
    : m_plugin(plugin), m_id(id), m_methods(methods), m_meta(metaObjectOf(id, methods))
{
    for (cRemoteMethod& method : m_methods)
        method.resolve();
}

int cRemoteService::qt_metacall(QMetaObject::Call call, int id, void** values)
{
    // What every object has, such as its deletion, is not for callers by name: the object is not the service.
    if (call == QMetaObject::InvokeMetaMethod && id < QObject::staticMetaObject.methodCount()) {
        fail(QObject::staticMetaObject.method(id).name(), QStringLiteral("it cannot be called in another process"));
        return -1;
    }
    const int own = QObject::qt_metacall(call, id, values);
    if (own < 0 || (call != QMetaObject::InvokeMetaMethod && call != QMetaObject::RegisterMethodArgumentMetaType))
        return own;
    if (call == QMetaObject::InvokeMetaMethod && own < m_methods.size()) {
        QString reason;
        if (!callMethod(quint32(own), values, &reason))
            fail(m_methods.at(own).name, reason);
    } else if (call == QMetaObject::RegisterMethodArgumentMetaType) {
        cMetaTables::answerNoType(values[0]);
    }
    return own - m_methods.size();
}

void cRemoteService::fail(const QByteArray& method, const QString& reason) const
{
    cMethodCall::failElsewhere();
    cServiceMgr::tellFailedCall(
        QStringLiteral("Cannot call \"%1\" of the service \"%2\": %3").arg(QString::fromLatin1(method), m_id, reason));
}

bool cRemoteService::callMethod(quint32 number, void** values, QString* reason) const
{
    const cRemoteMethod& method = m_methods.at(int(number));
    const auto plugin = m_plugin.lock();
    if (!plugin)
        *reason = QStringLiteral("its plugin has been unloaded");
    else if (!method.obstacle.isEmpty())
        *reason = QStringLiteral("values of the type %1 cannot travel to %2, which runs in a process of its own")
                      .arg(QString::fromLatin1(method.obstacle), plugin->id());
    if (!reason->isEmpty())
        return false;
    cFrameWriter frame(FrameKind::Call);
    frame.number(m_number);
    frame.number(number);
    for (int i = 0; i < method.ids.size(); ++i) {
        if (!frame.value(FrameValues::variantOf(method.ids.at(i), values[i + 1]))) {
            *reason = QStringLiteral("its value %1 holds what cannot travel, or is nested too deep").arg(i + 1);
            return false;
        }
    }
    cFrameReader answer;
    if (!plugin->request(frame, &answer, reason))
        return false;
    if (!values[0] || method.resultId == QMetaType::Void)
        return true;
    if (FrameValues::assign(method.resultId, values[0], answer.value()) && answer.isSound())
        return true;
    *reason = QStringLiteral("the answer of %1 is damaged").arg(plugin->id());
    return false;
}
