#include "commands/cInstallCommand.h"

#include <Norvale/IInstallMgr.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QFileInfo>

namespace {

const QString OptionName = QStringLiteral("install");

} // namespace

QCommandLineOption cInstallCommand::option() const
{
    return {OptionName,
            QStringLiteral("Install what the repository description FILE lists; its packages lie beside it."),
            QStringLiteral("FILE")};
}

ExitCode cInstallCommand::work(const QCommandLineParser& line)
{
    const QString path = QFileInfo(line.value(OptionName)).absoluteFilePath();
    const ExitCode code = examine(path);
    return code == ExitCode::Ok ? conclude(IInstallMgr::installFromLocation(path, false)) : code;
}
