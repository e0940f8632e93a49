#include "core/InstallRecord.h"

#include <QtCore/QSettings>
#include <QtCore/QString>

QString installRecord()
{
    const QSettings registry(QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Varkel\\Pelmora"), QSettings::NativeFormat);
    return registry.value(QStringLiteral("InstallDir")).toString();
}
