#include "core/Files.h"
#include "core/Settings.h"

namespace {
const QLatin1String InstallDir("InstallDir");
}

QString installRecord()
{
    return cMachineSettings().value(InstallDir).toString();
}

QString installRecordPlace()
{
    return QStringLiteral("\"%1\" in %2").arg(InstallDir, cMachineSettings().fileName());
}
