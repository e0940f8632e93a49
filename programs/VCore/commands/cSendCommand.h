#pragma once

#include "commands/cCommand.h"

/// Sends a message to the running host and prints every answer on a line.
class cSendCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override;
    ExitCode run(const QCommandLineParser& line) override;
};
