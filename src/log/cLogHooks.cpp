#include "log/cLogHooks.h"

#include <QtCore/QMetaMethod>

namespace {

bool hasMethod(const QObject* object, const char* method)
{
    const QByteArray signature = QByteArray(method) + "(QString,Qt::HANDLE,QDateTime,debugType,QString)";
    return object->metaObject()->indexOfMethod(QMetaObject::normalizedSignature(signature)) >= 0;
}

} // namespace

void cLogHooks::set(QObject* object, const char* method, const QMetaObject::Connection& gone)
{
    m_hooks.insert(object, Hook{method, gone});
}

void cLogHooks::remove(QObject* object)
{
    QObject::disconnect(m_hooks.take(object).gone);
}

void cLogHooks::call(const cLogEntry& entry)
{
    const QMap<QObject*, Hook> hooks = m_hooks;
    for (auto it = hooks.begin(); it != hooks.end(); ++it) {
        if (!m_hooks.contains(it.key()) || !hasMethod(it.key(), it->method))
            continue;
        QMetaObject::invokeMethod(
            it.key(), it->method, Qt::AutoConnection, QGenericArgument("const QString", &entry.channel),
            QGenericArgument("Qt::HANDLE", &entry.threadId), QGenericArgument("const QDateTime", &entry.time),
            QGenericArgument("debugType", &entry.level), QGenericArgument("const QString", &entry.message));
    }
}
