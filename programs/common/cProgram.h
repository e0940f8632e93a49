#pragma once

#include "common/pages/cDescription.h"

#include <memory>
#include <vector>

namespace CLI {
class App;
}

/// A program of commands: reads the command line, runs the command that it asks for, and refuses what does not go with
/// that. Name and version are those of the application.
class cProgram
{
public:
    /// @p description is the first line of the help.
    explicit cProgram(const char* description);

    /// Adds a group of sub-commands, whose names begin with @p name and a blank. It may be in a group itself.
    void addGroup(const char* name, const char* help) { m_description.groups.append({name, QString::fromUtf8(help)}); }

    /// Adds what the manual page tells of an environment variable, or of a file or folder.
    void addVariable(const char* name, const char* help);
    void addFile(const char* name, const char* help);

    /// Adds a command. Of commands that are options the first one is done when none is asked for.
    void add(std::unique_ptr<cCommand> command);

    /// Does what @p arguments ask for; the first of them is the program. Whatever runs out of memory meanwhile, in this
    /// thread or another, ends the program with ExitCode::NoMemory and says so.
    ExitCode run(const QStringList& arguments);

private:
    ExitCode readAndRun(const QStringList& arguments);
    ExitCode describe(const QString& folder, const QString& name) const;

    // Both tell which command is asked for, and give its variables what has been read.
    int readOptionCommand(CLI::App& app, const QStringList& arguments, QString* error) const;
    int readSubcommand(CLI::App& app, const QStringList& arguments) const;

    cDescription m_description;
    std::vector<std::unique_ptr<cCommand>> m_commands; // in the order of the description
};
