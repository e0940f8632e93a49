#pragma once

#include "commands/cCommand.h"

/// Calls a method of a service in the running host and prints what it returns.
class cCallCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override;
    int minArguments() const override { return 2; }
    int maxArguments() const override { return 12; }
    ExitCode run(const QCommandLineParser& line) override;
};
