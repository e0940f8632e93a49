#include "services/cNotificationInstance.h"

cNotificationInstance::cNotificationInstance(const QString& eventset, QObject* listener, const QString& prefix)
    : m_eventset(eventset), m_listener(listener), m_prefix(prefix), m_guard(listener)
{
}
