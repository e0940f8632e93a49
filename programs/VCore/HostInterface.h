#pragma once

#include <Norvale/Corvane.h>

#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtCore/QVariant>

class cHostServer;

/**
 * The host's part in the messages: it hands what clients send to every registered handler, answers the commands of its
 * own (CALL, LIST, QUIT) as one of these handlers, and passes the announcements of new services on to all clients.
 *
 * After all handlers have seen a message its client gets the closing HANDLED, so that it knows when to stop waiting.
 */
class cHostHandler : public QObject, public Corvane::ILocalSocketMessageHandler
{
    Q_OBJECT

public:
    /// Registers itself with the library; @p server must outlive it.
    explicit cHostHandler(cHostServer* server);
    ~cHostHandler() override;

    void handleMessage(int connectionId, const cJsonValue& message) override;

signals:
    /// A client asks for the end of the host.
    void quitRequested();

private:
    void handlePayload(int connectionId, const QByteArray& payload);
    void announce(const cJsonValue& message);
    void call(int connectionId, const cJsonValue& message);
    void answer(int connectionId, const cJsonValue& message, const QString& command, QJsonObject members);
    void answerError(int connectionId, const cJsonValue& message, const QString& error, const QString& text);

    cHostServer* m_server;
};

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
