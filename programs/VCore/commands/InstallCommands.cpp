// The commands that install and remove on the spot.
#include "Diagnostics.h"
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "updates/UpdateSession.h"
#include "updates/cPackageLocation.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IInstallMgr.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/cVersion.h>

#include <QtCore/QFileInfo>
#include <QtXml/QDomDocument>

namespace {

/// What the commands that install or remove have in common: no host runs meanwhile, and what is done is told.
class cInstallingCommand : public cCommand
{
public:
    ExitCode run() final
    {
        cChangeLock lock;
        ExitCode code = m_log.open(Diagnostics::showReasons);
        if (code == ExitCode::Ok)
            code = lock.takeForInstalling();
        if (code == ExitCode::Ok)
            code = initialiseFramework();
        if (code != ExitCode::Ok)
            return code;
        const cInstallReport report;
        return work();
    }

protected:
    /// Does it, with the framework initialised.
    virtual ExitCode work() = 0;

    void addLog(cSyntax& syntax) { m_log.addTo(syntax); }

    /// Whether the repository description at @p path can be installed at all; says why not.
    static ExitCode examine(const QString& path)
    {
        QDomDocument document;
        if (!Corvane::FileReadDom(path, document, false)) {
            return endWith(ExitCode::NothingToInstall,
                           QStringLiteral("%1 is no description of a repository").arg(path));
        }
        const cVersion needed(document.documentElement().attribute(QStringLiteral("core_version")));
        if (needed <= cVersion(Corvane::currentVersion()))
            return ExitCode::Ok;
        return endWith(ExitCode::CoreTooOld, QStringLiteral("%1 needs the core %2, the installed version is %3")
                                                 .arg(path, needed.toString(), Corvane::currentVersion()));
    }

    /// The exit code of an installation; says what is installed now.
    static ExitCode conclude(bool isComplete)
    {
        QStringList features;
        for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
            features.append(Terminal::printable(feature.name) + QLatin1Char(' ') + feature.version.toString());
        const QString all = features.join(QStringLiteral(", "));
        Terminal::answer(all.isEmpty() ? QStringLiteral("No feature is installed.")
                                       : QStringLiteral("Installed are %1.").arg(all));
        if (isComplete)
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
        if (cPackageLocation::isPackage(path))
            return installPackage(path);
        const ExitCode code = examine(path);
        return code == ExitCode::Ok ? conclude(IInstallMgr::installFromLocation(path, false)) : code;
    }

private:
    static ExitCode installPackage(const QString& path)
    {
        IPluginMgr::instance()->discover(); // what is faulty is logged
        cPackageLocation location;
        if (location.describe(path))
            return conclude(IInstallMgr::installFromLocation(location.path(), false));
        return endWith(ExitCode::NothingToInstall, location.errorString());
    }

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
        const ExitCode code = examine(Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile));
        return code == ExitCode::Ok ? conclude(IInstallMgr::installBootstrap()) : code;
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
        Terminal::answer(QStringLiteral("Nothing is installed any more in %1.").arg(folder) + UpdateReport::waiting());
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
