// The commands that install and remove on the spot.
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "updates/UpdateSession.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IInstallMgr.h>

#include <QtCore/QFileInfo>

namespace {

/// What the commands that install or remove have in common: no host runs meanwhile, and what is done is told.
class cInstallingCommand : public cCommand
{
public:
    ExitCode run() final
    {
        cChangeLock lock;
        const ExitCode code = beginChange(m_log, lock, &cChangeLock::takeForInstalling);
        if (code != ExitCode::Ok)
            return code;
        const cInstallReport report;
        return work();
    }

protected:
    /// Does it, with the framework initialised.
    virtual ExitCode work() = 0;

    void addLog(cSyntax& syntax) { m_log.addTo(syntax); }

    /// The exit code of the last installation; says what is installed now. Why it has come to nothing is in the log,
    /// whose errors are shown.
    static ExitCode conclude()
    {
        const cInstallOutcome outcome = IInstallMgr::lastOutcome();
        if (outcome.result == cInstallOutcome::NoDescription)
            return ExitCode::NothingToInstall;
        if (outcome.result == cInstallOutcome::CoreTooOld)
            return ExitCode::CoreTooOld;
        if (outcome.result == cInstallOutcome::Failed)
            return endWith(ExitCode::InstallIncomplete,
                           QStringLiteral("nothing is installed; the lines above tell why"));
        if (outcome.result == cInstallOutcome::NothingToDo)
            Terminal::answer(outcome.reason.isEmpty() ? QStringLiteral("Nothing of it is newer than what is installed.")
                                                      : outcome.reason + QLatin1Char('.'));
        QStringList features;
        for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
            features.append(feature.name + QLatin1Char(' ') + feature.version.toString());
        const QString all = features.join(QStringLiteral(", "));
        Terminal::answer(all.isEmpty() ? QStringLiteral("No feature is installed.")
                                       : QStringLiteral("Installed are %1.").arg(all));
        if (outcome.isSuccess())
            return ExitCode::Ok;
        return endWith(ExitCode::InstallIncomplete, QStringLiteral("something was left out; the lines above tell why"));
    }

private:
    cLogOption m_log;
};

/// Installs what a repository description on the local disk lists, or a package on its own.
class cInstallCommand : public cInstallingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--install",
                    "Install what the repository description FILE lists, whose packages lie beside it; or the one "
                    "package FILE, NAME-VERSION.zip, for who develops it.",
                    &m_path, "FILE");
        addLog(syntax);
    }

protected:
    ExitCode work() override
    {
        const QString path = QFileInfo(m_path).absoluteFilePath();
        if (path.endsWith(QLatin1String(".zip"), Qt::CaseInsensitive))
            IInstallMgr::installPackage(path);
        else
            IInstallMgr::installFromLocation(path, false);
        return conclude();
    }

private:
    QString m_path;
};

/// Installs what the Bootstrap folder of the installation holds.
class cBootstrapCommand : public cInstallingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--bootstrap", "Install what the folder Bootstrap of the installation holds.");
        addLog(syntax);
    }

protected:
    ExitCode work() override
    {
        IInstallMgr::installBootstrap();
        return conclude();
    }
};

/// Removes everything that is installed.
class cUninstallCommand : public cInstallingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--uninstall", "Remove every plugin, without asking.");
        addLog(syntax);
    }

protected:
    ExitCode work() override
    {
        if (!IInstallMgr::uninstallPlugins()) {
            return endWith(ExitCode::UninstallIncomplete,
                           QStringLiteral("not everything could be removed; the lines above tell why"));
        }
        const QString folder = Corvane::velmiraFolderOrFile(Corvane::CoreFolder);
        Terminal::answer(QStringLiteral("Nothing is installed any more in %1.").arg(folder));
        UpdateReport::tellWaiting();
        return ExitCode::Ok;
    }
};

} // namespace

void addInstallCommands(cProgram& program)
{
    program.add(std::make_unique<cInstallCommand>());
    program.add(std::make_unique<cBootstrapCommand>());
    program.add(std::make_unique<cUninstallCommand>());
}
