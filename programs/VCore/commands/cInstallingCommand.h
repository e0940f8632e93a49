#pragma once

#include "commands/cCommand.h"

/// What the commands that install or remove have in common: no host runs meanwhile, and what is done is told.
class cInstallingCommand : public cCommand
{
public:
    QStringList understands() const override;
    ExitCode run(const QCommandLineParser& line) final;

protected:
    /// Does it, with the framework initialised.
    virtual ExitCode work(const QCommandLineParser& line) = 0;

    /// Looks whether the repository description at @p path can be installed at all; says why not.
    static ExitCode examine(const QString& path);

    /// The exit code of an installation, and what is installed now.
    static ExitCode conclude(bool isComplete);
};
