#include "commands/cUninstallCommand.h"

#include "terminal/Terminal.h"
#include "updates/UpdateReport.h"

#include <Norvale/Corvane.h>
#include <Norvale/IInstallMgr.h>

QCommandLineOption cUninstallCommand::option() const
{
    return {QStringLiteral("uninstall"), QStringLiteral("Remove every plugin, without asking.")};
}

ExitCode cUninstallCommand::work(const QCommandLineParser&)
{
    if (!IInstallMgr::uninstallPlugins()) {
        Terminal::reason(QStringLiteral("not everything could be removed; the lines above tell why"));
        return ExitCode::UninstallIncomplete;
    }
    Terminal::answer(
        QStringLiteral("Nothing is installed any more in %1.").arg(Corvane::velmiraFolderOrFile(Corvane::CoreFolder)) +
        UpdateReport::waiting());
    return ExitCode::Ok;
}
