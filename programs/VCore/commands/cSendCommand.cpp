#include "commands/cSendCommand.h"

#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"

#include <QtCore/QCommandLineParser>

namespace {

const QString OptionName = QStringLiteral("send");

} // namespace

QCommandLineOption cSendCommand::option() const
{
    return {OptionName, QStringLiteral("Send JSON to the running host and print each answer on a line."),
            QStringLiteral("JSON")};
}

QStringList cSendCommand::understands() const
{
    return {QLatin1String(CommandOptions::Timeout), QLatin1String(CommandOptions::Wait)};
}

ExitCode cSendCommand::run(const QCommandLineParser& line)
{
    const int timeout = CommandOptions::timeout(line);
    if (timeout < 0)
        return ExitCode::Usage;
    cHostClient client(timeout);
    cHostClient::Outcome outcome = CommandOptions::connectToHost(line, &client);
    bool hasError = false;
    if (outcome == cHostClient::Done)
        outcome = client.ask(line.value(OptionName).toUtf8(), [&](const QByteArray& text, const QJsonObject& answer) {
            hasError |= answer.value(QStringLiteral("command")) == QLatin1String("ERROR");
            Terminal::answer(QString::fromUtf8(text));
        });
    if (outcome != cHostClient::Done)
        return CommandOptions::failure(outcome, client);
    return hasError ? ExitCode::CallFailed : ExitCode::Ok;
}
