#include "commands/cRunCommand.h"

#include "cHostRun.h"
#include "commands/CommandOptions.h"

#include <QtCore/QCommandLineParser>

QCommandLineOption cRunCommand::option() const
{
    return {QStringLiteral("run"), QStringLiteral("Start the suite and serve it until Ctrl+C, SIGTERM or a client's "
                                                  "QUIT; this is what is done when no other command is given.")};
}

QStringList cRunCommand::understands() const
{
    return {QLatin1String(CommandOptions::Categories), QLatin1String(CommandOptions::Log),
            QLatin1String(CommandOptions::Trace)};
}

ExitCode cRunCommand::run(const QCommandLineParser& line)
{
    if (!CommandOptions::openLog(line))
        return ExitCode::FileFailed;
    return cHostRun(CommandOptions::categories(line), line.value(QLatin1String(CommandOptions::Trace))).run();
}
