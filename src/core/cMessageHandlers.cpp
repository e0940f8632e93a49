#include "core/cMessageHandlers.h"

#include "log/cFrameworkLog.h"
#include "version/ForeignCode.h"
#include "version/cCodeImage.h"

#include <QtCore/QMutexLocker>

#include <algorithm>

cMessageHandlers& cMessageHandlers::instance()
{
    // Never destroyed: handlers that are static objects go at the very end.
    static cMessageHandlers* const handlers = new cMessageHandlers;
    return *handlers;
}

void cMessageHandlers::add(Handler* handler)
{
    if (!handler)
        return;
    const QSharedPointer<Entry> entry(new Entry{handler, cCodeImage::codeOf(handler)});
    {
        const QMutexLocker locker(&m_lock);
        const auto isIt = [&](const QSharedPointer<Entry>& other) { return other->handler == handler; };
        if (std::any_of(m_entries.cbegin(), m_entries.cend(), isIt))
            return;
        m_entries.append(entry);
    }
    cStartJournal::note(entry->code,
                        [this, entry] { return remove(entry) ? QStringLiteral("a message handler") : QString(); });
}

void cMessageHandlers::remove(const Handler* handler)
{
    const QMutexLocker locker(&m_lock);
    const auto isIt = [&](const QSharedPointer<Entry>& entry) { return entry->handler == handler; };
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), isIt), m_entries.end());
}

bool cMessageHandlers::remove(const QSharedPointer<Entry>& entry)
{
    const QMutexLocker locker(&m_lock);
    entry->isDestroyed = true; // as good as: its code is about to be unloaded
    return m_entries.removeOne(entry);
}

void cMessageHandlers::forget(const Handler* handler)
{
    const QMutexLocker locker(&m_lock);
    const auto mark = [handler](const Entries& entries) {
        for (const QSharedPointer<Entry>& entry : entries) {
            if (entry->handler == handler)
                entry->isDestroyed = true;
        }
    };
    mark(m_entries);
    for (const Entries* entries : qAsConst(m_dispatched))
        mark(*entries);
    const auto isGone = [](const QSharedPointer<Entry>& entry) { return entry->isDestroyed.load(); };
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), isGone), m_entries.end());
}

QStringList cMessageHandlers::dispatch(int connectionId, const cJsonValue& message)
{
    Entries entries; // a copy: who is registered or unregistered meanwhile counts from the next message on
    {
        const QMutexLocker locker(&m_lock);
        entries = m_entries;
        m_dispatched.append(&entries);
    }
    QStringList thrown;
    for (const QSharedPointer<Entry>& entry : qAsConst(entries)) {
        const QString text = entry->isDestroyed ? QString() : call(*entry, connectionId, message);
        if (!text.isEmpty())
            thrown.append(text);
    }
    const QMutexLocker locker(&m_lock);
    m_dispatched.removeOne(&entries);
    return thrown;
}

/// @return what has been thrown; empty when nothing was.
QString cMessageHandlers::call(const Entry& entry, int connectionId, const cJsonValue& message)
{
    const QString thrown = whatIsThrownBy([&] { entry.handler->handleMessage(connectionId, message); });
    if (!thrown.isEmpty())
        cFrameworkLog::library().error().noquote()
            << "A message handler of" << cCodeImage::around(entry.code).path() << thrown << Qt::endl;
    return thrown;
}

int cMessageHandlers::removeOf(const cCodeImage& image)
{
    const QMutexLocker locker(&m_lock);
    const auto isKept = [&](const QSharedPointer<Entry>& entry) { return !image.contains(entry->code); };
    const auto removed = std::stable_partition(m_entries.begin(), m_entries.end(), isKept);
    const int count = int(m_entries.end() - removed);
    for (auto entry = removed; entry != m_entries.end(); ++entry)
        (*entry)->isDestroyed = true;
    m_entries.erase(removed, m_entries.end());
    return count;
}

Corvane::ILocalSocketMessageHandler::~ILocalSocketMessageHandler()
{
    cMessageHandlers::instance().forget(this);
}

void Corvane::registerLocalSocketMessageHandler(ILocalSocketMessageHandler* handler)
{
    cMessageHandlers::instance().add(handler);
}

void Corvane::unregisterLocalSocketMessageHandler(ILocalSocketMessageHandler* handler)
{
    cMessageHandlers::instance().remove(handler);
}

void Corvane::handleLocalSocketMessage(int connectionId, const cJsonValue& message)
{
    cMessageHandlers::instance().dispatch(connectionId, message);
}

QStringList Corvane::dispatchLocalSocketMessage(int connectionId, const cJsonValue& message)
{
    return cMessageHandlers::instance().dispatch(connectionId, message);
}
