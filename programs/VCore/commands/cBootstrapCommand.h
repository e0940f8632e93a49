#pragma once

#include "commands/cInstallingCommand.h"

/// Installs what the Bootstrap folder of the installation holds.
class cBootstrapCommand : public cInstallingCommand
{
public:
    QCommandLineOption option() const override;

protected:
    ExitCode work(const QCommandLineParser& line) override;
};
