#include "cCommandLine.h"

#include "commands/CommandOptions.h"
#include "commands/cBootstrapCommand.h"
#include "commands/cCallCommand.h"
#include "commands/cCheckCommand.h"
#include "commands/cInstallCommand.h"
#include "commands/cListCommand.h"
#include "commands/cRunCommand.h"
#include "commands/cSendCommand.h"
#include "commands/cSitesCommand.h"
#include "commands/cUninstallCommand.h"
#include "commands/cUpdateCommand.h"
#include "terminal/Terminal.h"

#include <QtCore/QCoreApplication>

namespace {

const QString Help = QStringLiteral("help");
const QString HelpAll = QStringLiteral("help-all");
const QString Version = QStringLiteral("version");

QString nameOf(const cCommand& command)
{
    return command.option().names().constFirst();
}

} // namespace

cCommandLine::cCommandLine()
{
    m_commands.push_back(std::make_unique<cRunCommand>());
    m_commands.push_back(std::make_unique<cListCommand>());
    m_commands.push_back(std::make_unique<cSendCommand>());
    m_commands.push_back(std::make_unique<cCallCommand>());
    m_commands.push_back(std::make_unique<cCheckCommand>());
    m_commands.push_back(std::make_unique<cUpdateCommand>());
    m_commands.push_back(std::make_unique<cSitesCommand>());
    m_commands.push_back(std::make_unique<cInstallCommand>());
    m_commands.push_back(std::make_unique<cBootstrapCommand>());
    m_commands.push_back(std::make_unique<cUninstallCommand>());

    m_parser.setApplicationDescription(
        QStringLiteral("Runs the plugin-based suite, speaks to the host that runs it, and keeps it up to date."));
    m_parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    m_parser.addHelpOption();
    m_parser.addVersionOption();
    for (const auto& command : m_commands) {
        m_parser.addOption(command->option());
        m_parser.addOptions(command->ownOptions());
    }
    m_parser.addOptions(CommandOptions::all());
    m_parser.addPositionalArgument(
        QStringLiteral("WORD"),
        QStringLiteral("With --call SERVICE METHOD [ARG...], with --update [FEATURE...], with "
                       "--update-sites [URL...]."),
        QStringLiteral("[WORD...]"));
}

cCommandLine::~cCommandLine() = default;

ExitCode cCommandLine::run(const QStringList& arguments)
{
    QString complaint;
    cCommand* command = nullptr;
    if (!m_parser.parse(arguments))
        complaint = m_parser.errorText();
    else if (m_parser.isSet(Help) || m_parser.isSet(HelpAll))
        return Terminal::answer(helpText()), ExitCode::Ok;
    else if (m_parser.isSet(Version))
        return Terminal::answer(QStringLiteral("VCore ") + QCoreApplication::applicationVersion()), ExitCode::Ok;
    else
        command = picked(&complaint);
    if (command)
        return command->run(m_parser);
    Terminal::reason(complaint);
    Terminal::reason(QStringLiteral("VCore --help tells what is understood"));
    return ExitCode::Usage;
}

cCommand* cCommandLine::picked(QString* complaint) const
{
    cCommand* command = nullptr;
    for (const auto& candidate : m_commands) {
        if (!m_parser.isSet(nameOf(*candidate)))
            continue;
        if (command) {
            *complaint = QStringLiteral("--%1 and --%2 exclude each other").arg(nameOf(*command), nameOf(*candidate));
            return nullptr;
        }
        command = candidate.get();
    }
    if (!command)
        command = m_commands.front().get();
    *complaint = complaintAbout(*command);
    return complaint->isEmpty() ? command : nullptr;
}

QString cCommandLine::complaintAbout(const cCommand& command) const
{
    const QStringList known = command.understands() + command.option().names();
    for (const QString& name : m_parser.optionNames())
        if (!known.contains(name))
            return QStringLiteral("--%1 does not go with --%2").arg(name, nameOf(command));
    const QStringList words = m_parser.positionalArguments();
    if (words.size() < command.minArguments())
        return QStringLiteral("--%1 takes at least %2 arguments").arg(nameOf(command)).arg(command.minArguments());
    if (words.size() > command.maxArguments())
        return QStringLiteral("\"%1\" is not understood").arg(words.at(command.maxArguments()));
    return QString();
}

QString cCommandLine::helpText() const
{
    return QStringLiteral("%1\nExit codes:\n%2").arg(m_parser.helpText(), exitCodeTable());
}
