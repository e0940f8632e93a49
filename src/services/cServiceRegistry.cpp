#include "services/cServiceRegistry.h"

#include "services/cServiceCache.h"
#include "services/cServiceInstance.h"

void cServiceRegistry::insert(const QSharedPointer<cServiceInstance>& record)
{
    QSharedPointer<cServiceInstance> superseded;
    const QWriteLocker writer(&m_lock);
    superseded = m_records.insert(record);
    m_state.store(nextState(), std::memory_order_release);
}

QSharedPointer<cServiceInstance> cServiceRegistry::take(const QString& id)
{
    const QWriteLocker writer(&m_lock);
    const QSharedPointer<cServiceInstance> taken = m_records.take(id);
    if (taken)
        m_state.store(nextState(), std::memory_order_release);
    return taken;
}

void cServiceRegistry::clear()
{
    cServiceIndex dropped;
    const QWriteLocker writer(&m_lock);
    dropped.swap(m_records);
    m_state.store(nextState(), std::memory_order_release);
}

bool cServiceRegistry::contains(const QString& id) const
{
    const QReadLocker reader(&m_lock);
    return m_records.find(id);
}

QObject* cServiceRegistry::object(const QString& id) const
{
    cServiceCache* cache = cServiceCache::ofThread();
    if (!cache) {
        const QReadLocker reader(&m_lock);
        return find(id).data();
    }
    cServiceCache::Entry& known = cache->entryFor(id);
    if (known.state != m_state.load(std::memory_order_acquire) || known.id != id) {
        const QReadLocker reader(&m_lock);
        known.id = id;
        known.object = find(id);
        known.state = m_state.load(std::memory_order_relaxed);
    }
    return known.object.data();
}

QStringList cServiceRegistry::ids() const
{
    const QReadLocker reader(&m_lock);
    return m_records.ids();
}

quint64 cServiceRegistry::nextState()
{
    static std::atomic<quint64> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

QPointer<QObject> cServiceRegistry::find(const QString& id) const
{
    const cServiceInstance* record = m_records.find(id);
    return record ? record->guard() : QPointer<QObject>();
}
