#pragma once

#include <Norvale/cLogCentral.h>
#include <QtCore/QMap>
#include <QtCore/QObject>

/**
 * The objects that have a method called for each line. Not locked: the central's lock is held around every call.
 */
class cLogHooks
{
public:
    /// Sets or replaces the method of @p object; @p gone removes it when it is destroyed.
    void set(QObject* object, const char* method, const QMetaObject::Connection& gone);

    bool contains(QObject* object) const { return m_hooks.contains(object); }
    void replace(QObject* object, const char* method) { m_hooks[object].method = method; }
    void remove(QObject* object);

    /// Calls the hooks in the order of their addresses; one may remove itself or others meanwhile.
    void call(const cLogEntry& entry);

private:
    struct Hook
    {
        const char* method = nullptr;
        QMetaObject::Connection gone;
    };
    QMap<QObject*, Hook> m_hooks;
};
