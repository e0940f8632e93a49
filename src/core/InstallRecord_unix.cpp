#include "core/InstallRecord.h"
#include "core/Settings.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>

#include <unistd.h>

QString installRecord()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::InstallDir)).toString();
}

QString installRecordPlace()
{
    return QStringLiteral("\"%1\" in %2").arg(QLatin1String(SettingsKey::InstallDir), cMachineSettings().fileName());
}

bool writeInstallRecord(const QString& folder, QString* error)
{
    cMachineSettings store;
    if (writeSettings(store, {{QLatin1String(SettingsKey::InstallDir), QDir::toNativeSeparators(folder)}}, error))
        return true;
    if (::geteuid() != 0) {
        *error += QStringLiteral("; they are the machine's, which root changes; XDG_CONFIG_DIRS can name a folder of "
                                 "your own in their stead");
    }
    return false;
}
