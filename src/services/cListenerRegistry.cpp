#include "services/cListenerRegistry.h"

#include <algorithm>
#include <iterator>

namespace {

/// A text of its own: that of a literal would lie in the library of the plugin that gave it, which may be unloaded.
QString owned(const QString& text)
{
    return QString(text.constData(), text.size());
}

} // namespace

cNotificationInstance::cNotificationInstance(const QString& eventset, QObject* listener, const QString& prefix,
                                             IEventForwarder* forwarder)
    : m_eventset(owned(eventset))
    , m_listener(listener)
    , m_prefix(owned(prefix))
    , m_guard(listener)
    , m_forwarder(forwarder)
    , m_code(cCodeImage::codeOf(listener))
{
}

void cListenerRegistry::add(const Record& record)
{
    const cIndexLock::cChange change(m_lock);
    m_sets[record->eventset()].append(record);
    m_ofListener[record->address()].append(record);
}

void cListenerRegistry::remove(const QString& eventset, const QObject* listener)
{
    Records withdrawn;
    const cIndexLock::cChange change(m_lock);
    withdrawn = take(listener, [&](const Record& record) { return record->eventset() == eventset; });
    withdrawAll(withdrawn);
}

bool cListenerRegistry::remove(const Record& record)
{
    Records withdrawn;
    const cIndexLock::cChange change(m_lock);
    withdrawn = take(record->address(), [&](const Record& other) { return other == record; });
    withdrawAll(withdrawn);
    return !withdrawn.isEmpty();
}

cListenerRegistry::Records cListenerRegistry::removeOf(const cCodeImage& image)
{
    Records withdrawn;
    const cIndexLock::cChange change(m_lock);
    const auto isOfImage = [&](const Record& record) { return image.contains(record->code()); };
    for (const auto& set : m_sets)
        std::copy_if(set.second.begin(), set.second.end(), std::back_inserter(withdrawn), isOfImage);
    for (const Record& record : qAsConst(withdrawn))
        take(record->address(), isOfImage);
    withdrawAll(withdrawn);
    return withdrawn;
}

void cListenerRegistry::removeEverywhere(const QObject* listener)
{
    Records withdrawn;
    const cIndexLock::cChange change(m_lock);
    withdrawn = take(listener, [](const Record&) { return true; });
    withdrawAll(withdrawn);
}

/// Takes registrations of @p listener from those of its own; the lock is held. @return what was taken.
template <typename Wanted>
cListenerRegistry::Records cListenerRegistry::take(const QObject* listener, Wanted isWanted)
{
    Records taken;
    const auto found = m_ofListener.find(listener);
    if (found == m_ofListener.end())
        return taken;
    Records& all = found.value();
    const auto kept =
        std::stable_partition(all.begin(), all.end(), [&](const Record& record) { return !isWanted(record); });
    std::copy(kept, all.end(), std::back_inserter(taken));
    all.erase(kept, all.end());
    if (all.isEmpty())
        m_ofListener.erase(found);
    return taken;
}

void cListenerRegistry::clear()
{
    FlatMap<const QObject*, Records> dropped;
    const cIndexLock::cChange change(m_lock);
    dropped.swap(m_ofListener);
    m_sets.clear();
    for (const auto& records : dropped) {
        for (const Record& record : records.second)
            record->withdraw();
    }
}

cListenerRegistry::Records cListenerRegistry::ofSet(const QString& eventset) const
{
    const auto keyOf = [](const Records& records) { return QStringView(records.first()->eventset()); };
    const Records* const records = cLastFound<Records>::find(m_lock, eventset, keyOf, [&]() -> const Records* {
        const auto found = m_sets.find(eventset);
        return found == m_sets.end() ? nullptr : &found->second;
    });
    return records ? *records : Records();
}

bool cListenerRegistry::hasLiving(const QObject* listener) const
{
    const cIndexLock::cRead reader(m_lock);
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
