#pragma once

#include "commands/cCommand.h"

/// Shows features, plugins and services: those of the running host, or what is installed when none is running.
class cListCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override;
    ExitCode run(const QCommandLineParser& line) override;
};
