#pragma once

#include "ExitCode.h"

#include <QtCore/QCommandLineOption>
#include <QtCore/QStringList>

class QCommandLineParser;

/**
 * Something that the program does: an option that picks it, and what it then does. A new command is a class of its own
 * beside the others and a line in cCommandLine's constructor.
 */
class cCommand
{
public:
    virtual ~cCommand() = default;

    /// The option that picks this command.
    virtual QCommandLineOption option() const = 0;

    /// Names of the further options that it understands, of CommandOptions and of ownOptions().
    virtual QStringList understands() const = 0;

    /// Options that no other command has.
    virtual QList<QCommandLineOption> ownOptions() const { return {}; }

    /// How many arguments it takes beside the options, at least and at most.
    virtual int minArguments() const { return 0; }
    virtual int maxArguments() const { return 0; }

    /// Does it. The command line has been checked against all of the above.
    virtual ExitCode run(const QCommandLineParser& line) = 0;
};
