#include "commands/cBootstrapCommand.h"

#include <Norvale/Corvane.h>
#include <Norvale/IInstallMgr.h>

QCommandLineOption cBootstrapCommand::option() const
{
    return {QStringLiteral("bootstrap"),
            QStringLiteral("Install what the folder Bootstrap of the installation holds.")};
}

ExitCode cBootstrapCommand::work(const QCommandLineParser&)
{
    const ExitCode code = examine(Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile));
    return code == ExitCode::Ok ? conclude(IInstallMgr::installBootstrap()) : code;
}
