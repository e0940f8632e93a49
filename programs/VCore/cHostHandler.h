#pragma once

#include <Norvale/Corvane.h>

#include <QtCore/QObject>

class QJsonObject;
class QJsonValue;
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
    bool dispatch(int connectionId, const cJsonValue& message, QString* fault);
    void announce(const cJsonValue& message);
    void call(int connectionId, const cJsonValue& message);
    void answer(int connectionId, const cJsonValue& message, const QString& command, QJsonObject members);
    void answerError(int connectionId, const cJsonValue& message, const QString& error, const QString& text);

    cHostServer* m_server;
};
