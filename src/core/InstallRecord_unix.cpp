#include "core/InstallRecord.h"

#include "core/Settings.h"

#include <QtCore/QString>

QString installRecord()
{
    return cMachineSettings().value(QStringLiteral("InstallDir")).toString();
}
