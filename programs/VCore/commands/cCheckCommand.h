#pragma once

#include "commands/cCommand.h"

/// Asks the update sites for a newer version and shows what they have.
class cCheckCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override;
    ExitCode run(const QCommandLineParser& line) override;
};
