#include "services/cListenerRegistry.h"

#include <algorithm>
#include <iterator>

cNotificationInstance::cNotificationInstance(const QString& eventset, QObject* listener, const QString& prefix)
    : m_eventset(eventset), m_listener(listener), m_prefix(prefix), m_guard(listener)
{
}

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
    const auto found = m_ofListener.find(listener);
    if (found == m_ofListener.end())
        return;
    Records& all = found.value();
    const auto kept = std::stable_partition(all.begin(), all.end(),
                                            [&](const Record& record) { return record->eventset() != eventset; });
    std::copy(kept, all.end(), std::back_inserter(withdrawn));
    all.erase(kept, all.end());
    if (all.isEmpty())
        m_ofListener.erase(found);
    withdrawAll(withdrawn);
}

void cListenerRegistry::removeEverywhere(const QObject* listener)
{
    Records withdrawn;
    const QWriteLocker writer(&m_lock);
    const auto found = m_ofListener.find(listener);
    if (found == m_ofListener.end())
        return;
    withdrawn.swap(found.value());
    m_ofListener.erase(found);
    withdrawAll(withdrawn);
}

void cListenerRegistry::clear()
{
    FlatMap<const QObject*, Records> dropped;
    const QWriteLocker writer(&m_lock);
    dropped.swap(m_ofListener);
    m_sets.clear();
    for (const auto& records : dropped) {
        for (const Record& record : records.second)
            record->withdraw();
    }
}

cListenerRegistry::Records cListenerRegistry::ofSet(const QString& eventset) const
{
    const QReadLocker reader(&m_lock);
    const auto found = m_sets.find(eventset);
    return found == m_sets.end() ? Records() : found->second;
}

bool cListenerRegistry::hasLiving(const QObject* listener) const
{
    const QReadLocker reader(&m_lock);
    const auto found = m_ofListener.find(listener);
    return found != m_ofListener.end() && std::any_of(found->second.begin(), found->second.end(),
                                                      [](const Record& record) { return record->target(); });
}

void cListenerRegistry::withdrawAll(const Records& records)
{
    for (const Record& record : records) {
        record->withdraw();
        const auto set = m_sets.find(record->eventset());
        set.value().removeOne(record);
        if (set->second.isEmpty())
            m_sets.erase(set);
    }
}
