#include "core/InstallRecord.h"
#include "core/Settings.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>

namespace {
const QLatin1String Product("HKEY_LOCAL_MACHINE\\SOFTWARE\\Varkel\\Pelmora");
}

QString installRecord()
{
    return QSettings(Product, QSettings::NativeFormat).value(QLatin1String(SettingsKey::InstallDir)).toString();
}

QString installRecordPlace()
{
    return QStringLiteral("\"%1\" in %2").arg(QLatin1String(SettingsKey::InstallDir), Product);
}

bool writeInstallRecord(const QString& folder, QString* error)
{
    QSettings store(Product, QSettings::NativeFormat);
    if (writeSettings(store, {{QLatin1String(SettingsKey::InstallDir), QDir::toNativeSeparators(folder)}}, error))
        return true;
    *error += QStringLiteral("; they are the machine's, which an administrator changes: run this in a console that is "
                             "opened \"as administrator\"");
    return false;
}
