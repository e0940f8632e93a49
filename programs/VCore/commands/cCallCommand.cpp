#include "commands/cCallCommand.h"

#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"
#include "wire/WireText.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace {

const QString Request = QStringLiteral("call");

// Qt writes and reads whole documents only, so a single value travels in an array.
QString jsonText(const QJsonValue& value)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact)).mid(1).chopped(1);
}

bool readArguments(const QStringList& texts, bool areJson, QJsonArray* arguments)
{
    for (const QString& text : texts) {
        if (!areJson) {
            arguments->append(text);
            continue;
        }
        const QJsonArray value = QJsonDocument::fromJson('[' + text.toUtf8() + ']').array();
        if (value.size() != 1) {
            Terminal::reason(QStringLiteral("this argument is no JSON: %1").arg(text));
            return false;
        }
        arguments->append(value.first());
    }
    return true;
}

void printResult(const QJsonObject& answer, bool asJson)
{
    const QJsonValue value = answer.value(QStringLiteral("value"));
    const bool isNothing = answer.value(QStringLiteral("type")) == QLatin1String("void");
    if (value.isString() && !asJson)
        Terminal::answer(value.toString());
    else if (asJson || !isNothing)
        Terminal::answer(jsonText(value));
}

} // namespace

QCommandLineOption cCallCommand::option() const
{
    return {QStringLiteral("call"), QStringLiteral("Call a method of a service in the running host and print what it "
                                                   "returns. Options stand before SERVICE, all behind it are ARGs.")};
}

QStringList cCallCommand::understands() const
{
    return {QLatin1String(CommandOptions::Json), QLatin1String(CommandOptions::Timeout),
            QLatin1String(CommandOptions::Wait)};
}

ExitCode cCallCommand::run(const QCommandLineParser& line)
{
    const bool isJson = line.isSet(QLatin1String(CommandOptions::Json));
    const QStringList words = line.positionalArguments();
    const int timeout = CommandOptions::timeout(line);
    QJsonArray arguments;
    if (timeout < 0 || !readArguments(words.mid(2), isJson, &arguments))
        return ExitCode::Usage;
    const QJsonObject message{{QStringLiteral("command"), QStringLiteral("CALL")},
                              {QStringLiteral("service_id"), words.at(0)},
                              {QStringLiteral("method"), words.at(1)},
                              {QStringLiteral("args"), arguments},
                              {QStringLiteral("request"), Request}};
    cHostClient client(timeout);
    cHostClient::Outcome outcome = CommandOptions::connectToHost(line, &client);
    ExitCode code = ExitCode::CallFailed;
    if (outcome == cHostClient::Done)
        outcome = client.ask(WireText::write(message), [&](const QByteArray&, const QJsonObject& answer) {
            if (answer.value(QStringLiteral("request")) != Request)
                return;
            if (answer.value(QStringLiteral("command")) == QLatin1String("RESULT")) {
                printResult(answer, isJson);
                code = ExitCode::Ok;
            } else {
                Terminal::reason(answer.value(QStringLiteral("text")).toString());
            }
        });
    return outcome == cHostClient::Done ? code : CommandOptions::failure(outcome, client);
}
