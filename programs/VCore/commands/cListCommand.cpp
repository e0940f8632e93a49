#include "commands/cListCommand.h"

#include "SuiteReport.h"
#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"
#include "wire/WireText.h"

#include <Norvale/IPluginMgr.h>

#include <QtCore/QCommandLineParser>

namespace {

const QByteArray ListMessage = R"({"command":"LIST","request":"list"})";

ExitCode listInstalled(QJsonObject* report)
{
    if (!CommandOptions::initialise())
        return ExitCode::InitialiseFailed;
    IPluginMgr::instance()->discover(); // what is faulty is logged, and shown with what is known
    *report = SuiteReport::collect();
    return ExitCode::Ok;
}

ExitCode listRunning(cHostClient* client, QJsonObject* report)
{
    const cHostClient::Outcome outcome = client->ask(ListMessage, [&](const QByteArray&, const QJsonObject& answer) {
        if (answer.value(QStringLiteral("request")) == QLatin1String("list"))
            *report = answer.value(QStringLiteral("value")).toObject();
    });
    return outcome == cHostClient::Done ? ExitCode::Ok : CommandOptions::failure(outcome, *client);
}

} // namespace

QCommandLineOption cListCommand::option() const
{
    return {QStringLiteral("list"), QStringLiteral("Show features, plugins and services: those of the running host, or "
                                                   "what is installed when none is running.")};
}

QStringList cListCommand::understands() const
{
    return {QLatin1String(CommandOptions::Json), QLatin1String(CommandOptions::Log),
            QLatin1String(CommandOptions::Timeout)};
}

ExitCode cListCommand::run(const QCommandLineParser& line)
{
    const int timeout = CommandOptions::timeout(line);
    if (timeout < 0)
        return ExitCode::Usage;
    if (!CommandOptions::openLog(line))
        return ExitCode::FileFailed;
    cHostClient client(timeout);
    const cHostClient::Outcome connected = client.connectTo(CommandOptions::address());
    if (connected == cHostClient::TimedOut)
        return CommandOptions::failure(connected, client);
    const bool isRunning = connected == cHostClient::Done;
    QJsonObject report;
    const ExitCode code = isRunning ? listRunning(&client, &report) : listInstalled(&report);
    if (code != ExitCode::Ok)
        return code;
    report.insert(QStringLiteral("running"), isRunning);
    Terminal::answer(line.isSet(QLatin1String(CommandOptions::Json)) ? QString::fromUtf8(WireText::write(report))
                                                                     : SuiteReport::tables(report));
    return ExitCode::Ok;
}
