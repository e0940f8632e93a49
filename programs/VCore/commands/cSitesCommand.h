#pragma once

#include "commands/cCommand.h"

/// Shows or sets the update sites.
class cSitesCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override { return {}; }
    int maxArguments() const override { return 1000; }
    ExitCode run(const QCommandLineParser& line) override;
};
