#include "cProgram.h"

#include "graph/cGraphCommand.h"
#include "lint/cLintCommand.h"
#include "pack/cPackCommand.h"
#include "site/cSiteAddCommand.h"
#include "site/cSiteCheckCommand.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <QtCore/QCoreApplication>

#include <algorithm>
#include <sstream>

cProgram::cProgram() : m_app(std::make_unique<CLI::App>("For people who build plugins and run update sites."))
{
    m_app->name("norvale");
    m_app->set_version_flag("--version", "norvale " + QCoreApplication::applicationVersion().toStdString());
    m_app->footer("Exit codes:\n" + exitCodeTable().toStdString());
    m_app->require_subcommand(1);
    add(*m_app, std::make_unique<cPackCommand>());
    add(*m_app, std::make_unique<cLintCommand>());
    add(*m_app, std::make_unique<cGraphCommand>());
    CLI::App* const site = m_app->add_subcommand("site", "Publish on an update site, and verify one");
    site->require_subcommand(1);
    add(*site, std::make_unique<cSiteAddCommand>());
    add(*site, std::make_unique<cSiteCheckCommand>());
}

cProgram::~cProgram() = default;

void cProgram::add(CLI::App& parent, std::unique_ptr<cCommand> command)
{
    CLI::App* const app = command->addTo(parent);
    m_commands.emplace_back(app, std::move(command));
}

ExitCode cProgram::run(const QStringList& arguments)
{
    std::vector<std::string> words; // the parser takes them from the end
    for (int i = arguments.size() - 1; i > 0; --i)
        words.push_back(arguments.at(i).toStdString());
    try {
        m_app->parse(std::move(words));
    } catch (const CLI::ParseError& error) {
        std::ostringstream answer;
        std::ostringstream reason;
        const int code = m_app->exit(error, answer, reason);
        if (code == 0)
            return Terminal::answer(QString::fromStdString(answer.str()).trimmed()), ExitCode::Ok;
        Terminal::reason(QString::fromStdString(error.what()));
        Terminal::reason(QStringLiteral("norvale --help tells what is understood"));
        return ExitCode::Usage;
    }
    const auto picked = std::find_if(m_commands.begin(), m_commands.end(), [](auto& c) { return c.first->parsed(); });
    return picked->second->run();
}
