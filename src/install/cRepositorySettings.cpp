#include "install/cRepositorySettings.h"

#include "config/cFeatureCatalogue.h"
#include "disk/WholeFiles.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>

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

bool cRepositorySettings::isWritable()
{
    if (m_settings.isWritable())
        return true;
    const bool isFile = QDir::isAbsolutePath(m_settings.fileName()); // else in the registry
    m_errorString = QStringLiteral("the settings in %1 cannot be written: %2")
                        .arg(m_settings.fileName(),
                             isFile ? causeOfSystem(m_settings.fileName()) : QStringLiteral("access is denied"));
    return false;
}

bool cRepositorySettings::store()
{
    return !hasChange() || write(m_newName, m_newVersion);
}

bool cRepositorySettings::restore()
{
    return !hasChange() || write(m_oldName, m_oldVersion);
}

bool cRepositorySettings::remove()
{
    return (!m_oldName.isValid() && !m_oldVersion.isValid()) || write(QVariant(), QVariant());
}

// Both at once, so that they belong together whatever happens.
bool cRepositorySettings::write(const QVariant& name, const QVariant& version)
{
    return writeSettings(
        m_settings,
        {{QLatin1String(SettingsKey::RepositoryName), name}, {QLatin1String(SettingsKey::RepositoryVersion), version}},
        &m_errorString);
}
