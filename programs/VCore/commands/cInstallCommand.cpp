#include "commands/cInstallCommand.h"

#include "terminal/Terminal.h"
#include "updates/cPackageLocation.h"

#include <Norvale/IInstallMgr.h>
#include <Norvale/IPluginMgr.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QFileInfo>

namespace {

const QString OptionName = QStringLiteral("install");

} // namespace

QCommandLineOption cInstallCommand::option() const
{
    return {OptionName,
            QStringLiteral("Install what the repository description FILE lists, whose packages lie beside it; or the "
                           "one package FILE, NAME-VERSION.zip, for who develops it."),
            QStringLiteral("FILE")};
}

ExitCode cInstallCommand::work(const QCommandLineParser& line)
{
    const QString path = QFileInfo(line.value(OptionName)).absoluteFilePath();
    if (cPackageLocation::isPackage(path))
        return installPackage(path);
    const ExitCode code = examine(path);
    return code == ExitCode::Ok ? conclude(IInstallMgr::installFromLocation(path, false)) : code;
}

ExitCode cInstallCommand::installPackage(const QString& path)
{
    IPluginMgr::instance()->discover(); // what is faulty is logged
    cPackageLocation location;
    if (location.describe(path))
        return conclude(IInstallMgr::installFromLocation(location.path(), false));
    Terminal::reason(location.errorString());
    return ExitCode::NothingToInstall;
}
