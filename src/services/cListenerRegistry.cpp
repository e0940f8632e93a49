#include "services/cListenerRegistry.h"

#include "services/cNotificationInstance.h"

#include <algorithm>
#include <iterator>

void cListenerRegistry::add(const Record& record)
{
    const QWriteLocker writer(&m_lock);
    m_sets[record->eventset()].append(record);
    m_ofListener[record->address()].append(record);
}

void cListenerRegistry::remove(const QString& eventset, const QObject* listener)
{
    Records withdrawn;
    const QWriteLocker writer(&m_lock);
    const auto all = m_ofListener.find(listener);
    if (all == m_ofListener.end())
        return;
    const auto kept = std::stable_partition(all->begin(), all->end(),
                                            [&](const Record& record) { return record->eventset() != eventset; });
    std::copy(kept, all->end(), std::back_inserter(withdrawn));
    all->erase(kept, all->end());
    if (all->isEmpty())
        m_ofListener.erase(all);
    withdrawAll(withdrawn);
}

void cListenerRegistry::removeEverywhere(const QObject* listener)
{
    Records withdrawn;
    const QWriteLocker writer(&m_lock);
    withdrawn = m_ofListener.take(listener);
    withdrawAll(withdrawn);
}

void cListenerRegistry::clear()
{
    QMap<QString, Records> dropped;
    const QWriteLocker writer(&m_lock);
    dropped.swap(m_sets);
    m_ofListener.clear();
    for (const Records& records : qAsConst(dropped)) {
        for (const Record& record : records)
            record->withdraw();
    }
}

cListenerRegistry::Records cListenerRegistry::ofSet(const QString& eventset) const
{
    const QReadLocker reader(&m_lock);
    return m_sets.value(eventset);
}

bool cListenerRegistry::hasLiving(const QObject* listener) const
{
    const QReadLocker reader(&m_lock);
    const Records records = m_ofListener.value(listener);
    return std::any_of(records.begin(), records.end(), [](const Record& record) { return record->target(); });
}

void cListenerRegistry::withdrawAll(const Records& records)
{
    for (const Record& record : records) {
        record->withdraw();
        removeFromSet(record);
    }
}

void cListenerRegistry::removeFromSet(const Record& record)
{
    const auto set = m_sets.find(record->eventset());
    set->removeOne(record);
    if (set->isEmpty())
        m_sets.erase(set);
}
