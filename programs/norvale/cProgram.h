#pragma once

#include "ExitCode.h"

#include <QtCore/QStringList>

#include <memory>
#include <utility>
#include <vector>

namespace CLI {
class App;
}
class cCommand;

/// The command line of the program: knows the sub-commands and runs the one that is asked for.
class cProgram
{
public:
    cProgram();
    ~cProgram();

    /// Does what @p arguments ask for; the first of them is the program.
    ExitCode run(const QStringList& arguments);

private:
    void add(CLI::App& parent, std::unique_ptr<cCommand> command);

    std::unique_ptr<CLI::App> m_app;
    std::vector<std::pair<CLI::App*, std::unique_ptr<cCommand>>> m_commands;
};
