#pragma once

#include <Norvale/Corvane.h>

#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <atomic>

class cCodeImage;

/**
 * The message handlers in the order of their registration, each once, and the dispatch of messages to them.
 *
 * The handlers are not owned. One that is destroyed is taken out by itself, also of a dispatch that is under way; one
 * that is only unregistered still gets the message that is being dispatched. Any thread may use the list, and no lock
 * is held while a handler runs; handlers themselves mostly belong to the main thread.
 */
class cMessageHandlers
{
public:
    using Handler = Corvane::ILocalSocketMessageHandler;

    static cMessageHandlers& instance();

    void add(Handler* handler);
    void remove(const Handler* handler);

    /// Takes out what is being destroyed.
    void forget(const Handler* handler);

    /// @return what handlers have thrown, each as whatWasThrown() tells it; it has been logged.
    QStringList dispatch(int connectionId, const cJsonValue& message);

    /// Takes out the handlers whose code lies in @p image. @return their number.
    int removeOf(const cCodeImage& image);

private:
    struct Entry
    {
        Handler* handler;
        const void* code; // where its class was compiled into
        std::atomic<bool> isDestroyed{false};
    };
    using Entries = QVector<QSharedPointer<Entry>>;

    bool remove(const QSharedPointer<Entry>& entry);
    static QString call(const Entry& entry, int connectionId, const cJsonValue& message);

    QMutex m_lock; // guards the members below
    Entries m_entries;
    QList<const Entries*> m_dispatched; // by the dispatches under way
};
