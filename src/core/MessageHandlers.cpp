#include <Norvale/Corvane.h>

#include <QtCore/QList>

namespace {

using Handlers = QList<Corvane::ILocalSocketMessageHandler*>;

/// In the order of registration, each once; not owned. Main thread only, so without a lock.
Handlers& handlers()
{
    static Handlers list;
    return list;
}

} // namespace

void Corvane::registerLocalSocketMessageHandler(ILocalSocketMessageHandler* handler)
{
    if (!handlers().contains(handler))
        handlers().append(handler);
}

void Corvane::unregisterLocalSocketMessageHandler(ILocalSocketMessageHandler* handler)
{
    handlers().removeAll(handler);
}

void Corvane::handleLocalSocketMessage(int connectionId, const cJsonValue& message)
{
    // A copy: what handlers register or unregister meanwhile counts from the next message on.
    const Handlers current = handlers();
    for (ILocalSocketMessageHandler* handler : current)
        handler->handleMessage(connectionId, message);
}
