#include "commands/cCheckCommand.h"

#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"
#include "updates/UpdateReport.h"
#include "updates/cUpdateSession.h"
#include "wire/WireText.h"

#include <QtCore/QCommandLineParser>

QCommandLineOption cCheckCommand::option() const
{
    return {QStringLiteral("check"), QStringLiteral("Ask the update sites for a newer version; nothing is changed.")};
}

QStringList cCheckCommand::understands() const
{
    return {QLatin1String(CommandOptions::Json), QLatin1String(CommandOptions::Log)};
}

ExitCode cCheckCommand::run(const QCommandLineParser& line)
{
    if (!CommandOptions::openLog(line, TerminalLog::showReasons))
        return ExitCode::FileFailed;
    if (!CommandOptions::initialise())
        return ExitCode::InitialiseFailed;
    const QJsonObject result = cUpdateSession().check();
    if (line.isSet(QLatin1String(CommandOptions::Json)))
        Terminal::answer(QString::fromUtf8(WireText::write(result)));
    else
        Terminal::answer(UpdateReport::table(result) + QLatin1Char('\n') + UpdateReport::checked(result) +
                         UpdateReport::waiting());
    return UpdateReport::codeOf(result);
}
