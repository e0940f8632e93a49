#pragma once

#include <QtCore/QObject>
#include <QtCore/QVariant>

class cHostServer;
class cJsonValue;

/**
 * The service "VCore": what plugins ask of their host through IServiceMgr::invoke. Message handlers answer through it,
 * since a handler gets a message and the id of its connection but no way back.
 *
 * send() and broadcast() may be called from any thread.
 */
class cHostService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "VCore")
    Q_CLASSINFO("threadsafe", "true")

public:
    /// Registers itself; @p server must outlive it.
    explicit cHostService(cHostServer* server);
    ~cHostService() override;

    /// Sends JSON text to a client. @return false when the client is gone, or the text is over the limit of a frame.
    Q_INVOKABLE bool send(int connectionId, const QString& json);

    /// Sends JSON text to all clients. @return false when the text is over the limit of a frame.
    Q_INVOKABLE bool broadcast(const QString& json);

    /// Ids of the clients that are connected, ascending.
    Q_INVOKABLE QVariantList connections() const;

    /// Ends the host in order, once the event loop runs again. From any thread.
    Q_INVOKABLE void quit() { emit quitRequested(); }

signals:
    /// A plugin or client asks for the end of the host.
    void quitRequested();

private:
    cHostServer* m_server;
};
