#pragma once

#include "commands/cInstallingCommand.h"

/// Removes everything that is installed.
class cUninstallCommand : public cInstallingCommand
{
public:
    QCommandLineOption option() const override;

protected:
    ExitCode work(const QCommandLineParser& line) override;
};
