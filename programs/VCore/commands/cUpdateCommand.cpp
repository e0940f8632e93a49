#include "commands/cUpdateCommand.h"

#include "commands/CommandOptions.h"
#include "terminal/Terminal.h"
#include "updates/UpdateReport.h"
#include "updates/cChangeLock.h"
#include "updates/cUpdateSession.h"
#include "wire/WireText.h"

#include <QtCore/QCommandLineParser>

QCommandLineOption cUpdateCommand::option() const
{
    return {QStringLiteral("update"),
            QStringLiteral("Fetch the newest version from the update sites; the next start installs it. The FEATUREs "
                           "that are named come in addition. Ctrl+C cancels. A running host goes on meanwhile.")};
}

QStringList cUpdateCommand::understands() const
{
    return {QLatin1String(CommandOptions::Json), QLatin1String(CommandOptions::Log)};
}

ExitCode cUpdateCommand::run(const QCommandLineParser& line)
{
    if (!CommandOptions::haveNoOptions(line.positionalArguments()))
        return ExitCode::Usage;
    if (!CommandOptions::openLog(line, TerminalLog::showReasons))
        return ExitCode::FileFailed;
    cChangeLock lock;
    const ExitCode locked = lock.takeForFetching();
    if (locked != ExitCode::Ok)
        return locked;
    if (!CommandOptions::initialise())
        return ExitCode::InitialiseFailed;
    const QJsonObject result = cUpdateSession().update(line.positionalArguments());
    if (line.isSet(QLatin1String(CommandOptions::Json)))
        Terminal::answer(QString::fromUtf8(WireText::write(result)));
    else
        Terminal::answer(UpdateReport::updated(result));
    return UpdateReport::codeOf(result);
}
