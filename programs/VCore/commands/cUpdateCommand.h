#pragma once

#include "commands/cCommand.h"

/// Fetches the newest version from the update sites, for the next start to install.
class cUpdateCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override;
    int maxArguments() const override { return 1000; }
    ExitCode run(const QCommandLineParser& line) override;
};
