#include "config/cFeatureInstance.h"

cFeatureInstance::cFeatureInstance(const QString& name, const cVersion& version, bool isActive,
                                   const QString& repository)
    : m_name(name), m_version(version), m_isActive(isActive), m_repository(repository)
{
}

void cFeatureInstance::setDisplayName(const QString& language, const QString& text)
{
    m_displayNames.insert({QStringLiteral("displayname"), language}, text);
}
