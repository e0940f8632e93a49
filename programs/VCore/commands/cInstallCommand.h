#pragma once

#include "commands/cInstallingCommand.h"

/// Installs what a repository description on the local disk lists, or a package on its own.
class cInstallCommand : public cInstallingCommand
{
public:
    QCommandLineOption option() const override;

protected:
    ExitCode work(const QCommandLineParser& line) override;

private:
    static ExitCode installPackage(const QString& path);
};
