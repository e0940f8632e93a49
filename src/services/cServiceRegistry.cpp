#include "services/cServiceRegistry.h"

#include "services/cServiceInstance.h"

void cServiceRegistry::insert(const QSharedPointer<cServiceInstance>& record)
{
    QSharedPointer<cServiceInstance> superseded;
    const cReadMostlyLock::Writer writer(m_lock);
    QSharedPointer<cServiceInstance>& place = m_records[record->name()];
    superseded.swap(place);
    place = record;
    m_index.insert(record->name(), record.data());
}

QSharedPointer<cServiceInstance> cServiceRegistry::take(const QString& id)
{
    const cReadMostlyLock::Writer writer(m_lock);
    if (m_index.remove(id) == 0)
        return {};
    return m_records.take(id);
}

void cServiceRegistry::clear()
{
    Records dropped;
    const cReadMostlyLock::Writer writer(m_lock);
    dropped.swap(m_records);
    m_index.clear();
}

bool cServiceRegistry::contains(const QString& id) const
{
    const cReadMostlyLock::Reader reader(m_lock);
    return m_index.contains(id);
}

QObject* cServiceRegistry::object(const QString& id) const
{
    const cReadMostlyLock::Reader reader(m_lock);
    const cServiceInstance* record = m_index.value(id);
    return record ? record->object() : nullptr;
}

QStringList cServiceRegistry::ids() const
{
    const cReadMostlyLock::Reader reader(m_lock);
    return m_records.keys();
}
