#include "install/cRepositorySettings.h"

#include "config/cFeatureCatalogue.h"
#include "core/Files.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

cRepositorySettings::cRepositorySettings()
    : m_oldName(m_settings.value(QLatin1String(SettingsKey::RepositoryName)))
    , m_oldVersion(m_settings.value(QLatin1String(SettingsKey::RepositoryVersion)))
    , m_newName(m_oldName)
    , m_newVersion(m_oldVersion)
{
}

void cRepositorySettings::setTarget(const cFeatureCatalogue& offered, bool isTaken)
{
    const QString name =
        m_oldName.isValid() ? m_oldName.toString() : QString::fromLatin1(cFeatureInstance::DevelopmentName);
    const bool isSame = offered.name().isEmpty() || offered.name() == name;
    if (!isSame && !isTaken)
        return;
    if (!offered.name().isEmpty())
        m_newName = offered.name();
    if (!isSame || cVersion(m_oldVersion.toString()) < offered.version())
        m_newVersion = offered.version().toString();
}

bool cRepositorySettings::store()
{
    if (!hasChange() || write(m_newName, m_newVersion))
        return true;
    restore();
    return false;
}

void cRepositorySettings::restore()
{
    if (hasChange())
        write(m_oldName, m_oldVersion);
}

bool cRepositorySettings::remove()
{
    return (!m_oldName.isValid() && !m_oldVersion.isValid()) || write(QVariant(), QVariant());
}

bool cRepositorySettings::write(const QVariant& name, const QVariant& version)
{
    set(SettingsKey::RepositoryName, name);
    set(SettingsKey::RepositoryVersion, version);
    m_settings.sync();
    if (m_settings.status() != QSettings::NoError)
        return false;
    // Where the settings are a file, it has been replaced, but may not be on the disk yet.
    QFile file(m_settings.fileName());
    if (!file.open(QIODevice::ReadOnly))
        return true;
    return flushFile(file) && flushFolder(QFileInfo(file).absolutePath());
}

void cRepositorySettings::set(const char* key, const QVariant& value)
{
    if (value.isValid())
        m_settings.setValue(QLatin1String(key), value);
    else
        m_settings.remove(QLatin1String(key));
}
