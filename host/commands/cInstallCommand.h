#pragma once

#include "commands/cInstallingCommand.h"

/// Installs what a repository description on the local disk lists.
class cInstallCommand : public cInstallingCommand
{
public:
    QCommandLineOption option() const override;

protected:
    ExitCode work(const QCommandLineParser& line) override;
};
