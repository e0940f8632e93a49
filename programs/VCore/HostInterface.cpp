#include "HostInterface.h"

#include "SuiteReport.h"
#include "calls/cServiceCall.h"
#include "wire/WireText.h"
#include "wire/cFrameDecoder.h"
#include "wire/cHostServer.h"

#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QJsonObject>

namespace {

// Every answer repeats the request, also the error that an answer is too long, so the request itself must be short.
constexpr int MaxRequestLength = 256;

QJsonValue requestOf(const cJsonValue& message)
{
    const cJsonValue& request = WireText::memberOf(message, WireText::RequestMember);
    const bool isShortText = request.isString() && request.toString().size() <= MaxRequestLength;
    QJsonValue value(QJsonValue::Undefined);
    if ((isShortText || request.isNumber()) && !WireText::toQt(request, &value))
        return QJsonValue::Undefined;
    return value;
}

} // namespace

cHostHandler::cHostHandler(cHostServer* server) : m_server(server)
{
    connect(server, &cHostServer::messageReceived, this, &cHostHandler::handlePayload);
    Corvane::registerLocalSocketMessageHandler(this);
}

cHostHandler::~cHostHandler()
{
    Corvane::unregisterLocalSocketMessageHandler(this);
}

void cHostHandler::handleMessage(int connectionId, const cJsonValue& message)
{
    const QString command = WireText::commandOf(message);
    if (connectionId < 0) {
        if (command == QLatin1String("NEWSERVICE"))
            announce(message);
    } else if (command == QLatin1String("CALL")) {
        call(connectionId, message);
    } else if (command == QLatin1String("LIST")) {
        answer(connectionId, message, QStringLiteral("RESULT"), {{QStringLiteral("value"), SuiteReport::collect()}});
    } else if (command == QLatin1String("QUIT")) {
        answer(connectionId, message, QStringLiteral("RESULT"), {{QStringLiteral("value"), true}});
        emit quitRequested();
    }
}

void cHostHandler::handlePayload(int connectionId, const QByteArray& payload)
{
    cJsonValue message;
    if (!WireText::read(payload, &message)) {
        message = cJsonValue();
        answerError(connectionId, message, QStringLiteral("not_json"), QStringLiteral("the message is no JSON"));
    } else {
        // A handler that looks for a member by its plain name throws when the message lacks it.
        const QStringList thrown = Corvane::dispatchLocalSocketMessage(connectionId, message);
        if (!thrown.isEmpty()) {
            answerError(connectionId, message, QStringLiteral("handler_failed"),
                        QStringLiteral("a handler ") + thrown.join(QStringLiteral("; a handler ")));
        }
    }
    answer(connectionId, message, QStringLiteral("HANDLED"), {});
}

void cHostHandler::announce(const cJsonValue& message)
{
    QJsonValue announcement;
    if (WireText::toQt(message, &announcement))
        m_server->broadcast(WireText::write(announcement.toObject()));
}

void cHostHandler::call(int connectionId, const cJsonValue& message)
{
    cServiceCall call;
    if (!call.call(WireText::memberOf(message, QStringLiteral("service_id")).toString(),
                   WireText::memberOf(message, QStringLiteral("method")).toString(),
                   WireText::memberOf(message, QStringLiteral("args")))) {
        answerError(connectionId, message, call.errorName(), call.errorString());
        return;
    }
    answer(connectionId, message, QStringLiteral("RESULT"),
           {{QStringLiteral("value"), call.result()}, {QStringLiteral("type"), call.resultType()}});
}

void cHostHandler::answer(int connectionId, const cJsonValue& message, const QString& command, QJsonObject members)
{
    members.insert(QStringLiteral("command"), command);
    const QJsonValue request = requestOf(message);
    if (!request.isUndefined())
        members.insert(WireText::RequestMember, request);
    const QByteArray payload = WireText::write(members);
    if (payload.size() > cFrameDecoder::MaxPayload) {
        answerError(connectionId, message, QStringLiteral("answer_too_large"),
                    QStringLiteral("the answer has %1 bytes").arg(payload.size()));
        return;
    }
    m_server->send(connectionId, payload);
}

void cHostHandler::answerError(int connectionId, const cJsonValue& message, const QString& error, const QString& text)
{
    answer(connectionId, message, QStringLiteral("ERROR"),
           {{QStringLiteral("error"), error}, {QStringLiteral("text"), text}});
}

cHostService::cHostService(cHostServer* server) : m_server(server)
{
    IServiceMgr::instance()->registerService(this);
}

cHostService::~cHostService()
{
    IServiceMgr::instance()->unregisterService(this);
}

bool cHostService::send(int connectionId, const QString& json)
{
    const QByteArray payload = json.toUtf8();
    return payload.size() <= cFrameDecoder::MaxPayload && m_server->send(connectionId, payload);
}

bool cHostService::broadcast(const QString& json)
{
    const QByteArray payload = json.toUtf8();
    if (payload.size() > cFrameDecoder::MaxPayload)
        return false;
    m_server->broadcast(payload);
    return true;
}

QVariantList cHostService::connections() const
{
    QVariantList ids;
    for (const int id : m_server->connectionIds())
        ids.append(id);
    return ids;
}
