#include "SettingsSandbox.h"

#include <QtCore/QDir>
#include <QtCore/QSettings>

QString SettingsSandbox::path() const
{
    return m_dir.path();
}

void SettingsSandbox::setInstallDir(const QString& folder)
{
    setMachineValue(QStringLiteral("InstallDir"), QDir::toNativeSeparators(folder));
}

void SettingsSandbox::setMachineValue(const QString& key, const QVariant& value)
{
    QSettings settings(QSettings::SystemScope, QStringLiteral("Varkel"), QStringLiteral("Pelmora"));
    value.isValid() ? settings.setValue(key, value) : settings.remove(key);
    settings.sync();
}
