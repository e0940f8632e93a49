#include "HostInterface.h"

#include "calls/cServiceCall.h"
#include "common/Terminal.h"
#include "guard/LastFailure.h"
#include "wire/WireText.h"
#include "wire/cFrameDecoder.h"
#include "wire/cHostServer.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <algorithm>

namespace {

const QString RequestMember = QStringLiteral("request");

// Every answer repeats the request, also the error that an answer is too long, so the request itself must be short.
constexpr int MaxRequestLength = 256;

QJsonValue requestOf(const cJsonValue& message)
{
    const cJsonValue& request = WireText::memberOf(message, RequestMember);
    const bool isShortText = request.isString() && request.toString().size() <= MaxRequestLength;
    QJsonValue value(QJsonValue::Undefined);
    if ((isShortText || request.isNumber()) && !WireText::toQt(request, &value))
        return QJsonValue::Undefined;
    return value;
}

QString stateName(cPluginInfo::State state)
{
    switch (state) {
    case cPluginInfo::Registered:
        return QStringLiteral("registered");
    case cPluginInfo::Ordered:
        return QStringLiteral("ordered");
    case cPluginInfo::Loaded:
        return QStringLiteral("loaded");
    case cPluginInfo::Started:
        return QStringLiteral("started");
    case cPluginInfo::Stopped:
        return QStringLiteral("stopped");
    }
    return QString();
}

QJsonObject featureObject(const cFeatureInfo& feature)
{
    QJsonObject names;
    for (auto it = feature.displayNames.begin(); it != feature.displayNames.end(); ++it)
        names.insert(it.key(), it.value());
    return {{QStringLiteral("name"), feature.name},
            {QStringLiteral("version"), feature.version.toString()},
            {QStringLiteral("active"), feature.active},
            {QStringLiteral("repository"), feature.repository},
            {QStringLiteral("display_names"), names},
            {QStringLiteral("plugins"), QJsonArray::fromStringList(feature.plugins)}};
}

QJsonObject pluginObject(const cPluginInfo& plugin)
{
    return {{QStringLiteral("name"), plugin.name},
            {QStringLiteral("version"), plugin.version.toString()},
            {QStringLiteral("category"), plugin.category},
            {QStringLiteral("autoload"), plugin.autoload},
            {QStringLiteral("order"), plugin.order},
            {QStringLiteral("state"), stateName(plugin.state)},
            {QStringLiteral("dependencies"), QJsonArray::fromStringList(plugin.dependencies)},
            {QStringLiteral("services"), QJsonArray::fromStringList(plugin.services)},
            {QStringLiteral("folder"), plugin.folder},
            {QStringLiteral("left_out"), plugin.leftOut}};
}

// How a member is shown in a cell: lists comma-separated, claims as yes or no.
QString cell(const QJsonValue& value)
{
    if (value.isBool())
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    if (value.isDouble())
        return QString::number(value.toInt());
    QStringList items;
    for (const auto& item : value.toArray())
        items.append(item.toString());
    return value.isArray() ? items.join(QStringLiteral(", ")) : value.toString();
}

bool isLeftOut(const QJsonValue& plugin)
{
    return !plugin.toObject().value(QStringLiteral("left_out")).toString().isEmpty();
}

Style styleOfState(const QString& state)
{
    if (state == QLatin1String("started"))
        return Style::Good;
    return state == QLatin1String("failed") ? Style::Error : Style::Plain;
}

cStyledLine heading(const char* text)
{
    return {QLatin1String(text), Style::Heading};
}

cStyledLines table(const QJsonArray& objects, const QStringList& members)
{
    cTextTable table(members);
    if (members.contains(QStringLiteral("state")))
        table.setStyle(members.indexOf(QStringLiteral("state")), styleOfState);
    for (const auto& object : objects) {
        QStringList cells;
        for (const QString& member : members)
            cells.append(cell(object.toObject().value(member)));
        table.addRow(cells);
    }
    return table.lines();
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
        members.insert(RequestMember, request);
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

QJsonObject SuiteReport::collect()
{
    QJsonArray features;
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
        features.append(featureObject(feature));
    QJsonArray plugins;
    for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins())
        plugins.append(pluginObject(plugin));
    QJsonObject report{
        {QStringLiteral("core_version"), Corvane::currentVersion()},
        {QStringLiteral("features"), features},
        {QStringLiteral("plugins"), plugins},
        {QStringLiteral("services"), QJsonArray::fromStringList(IServiceMgr::instance()->serviceList())}};
    const QJsonObject failure = LastFailure::json(IPluginMgr::instance()->lastFailure());
    if (!failure.isEmpty())
        report.insert(QStringLiteral("last_failure"), failure);
    return report;
}

cStyledLines SuiteReport::tables(const QJsonObject& report)
{
    cStyledLines lines{heading("Features")};
    lines += table(
        report.value(QStringLiteral("features")).toArray(),
        {QStringLiteral("name"), QStringLiteral("version"), QStringLiteral("active"), QStringLiteral("repository")});
    lines << QString() << heading("Plugins");
    const QJsonArray plugins = report.value(QStringLiteral("plugins")).toArray();
    QStringList members{QStringLiteral("name"),  QStringLiteral("version"),      QStringLiteral("category"),
                        QStringLiteral("state"), QStringLiteral("dependencies"), QStringLiteral("services")};
    if (std::any_of(plugins.begin(), plugins.end(), isLeftOut))
        members.append(QStringLiteral("left_out"));
    lines += table(plugins, members);
    const QJsonArray services = report.value(QStringLiteral("services")).toArray();
    if (!services.isEmpty())
        lines << QString() << heading("Registered services") << cell(services);
    const QString disabled = cell(report.value(QStringLiteral("disabled")));
    if (!disabled.isEmpty())
        lines << QString() << heading("Disabled (VCore --enable NAME undoes it)") << disabled;
    const QJsonObject failure = report.value(QStringLiteral("last_failure")).toObject();
    if (!failure.isEmpty())
        lines << QString() << heading("Last failure") << cell(failure.value(QStringLiteral("text")));
    const QString path = cell(failure.value(QStringLiteral("report")));
    if (!path.isEmpty())
        lines << QStringLiteral("The report is in %1").arg(path);
    return lines;
}
