#include "config/cFeatureCatalogue.h"

QUrl cFeatureSource::url() const
{
    const QUrl absolute(source);
    if (!absolute.isRelative())
        return absolute;
    return location ? location->resolve(source) : QUrl();
}

void cFeaturePlugin::onProgress(qint64 downloadedSize, qint64 totalSize)
{
    emit progress(m_id.packageFileName(), downloadedSize, totalSize);
}

cFeatureInstance::cFeatureInstance(const QString& name, const cVersion& version, bool isActive,
                                   const QString& repository)
    : m_name(name), m_version(version), m_isActive(isActive), m_repository(repository)
{
}

QSharedPointer<cFeatureInstance> cFeatureInstance::copy(const cVersion& version) const
{
    const auto copy = QSharedPointer<cFeatureInstance>::create(m_name, version, m_isActive, m_repository);
    copy->m_dependencies = m_dependencies;
    copy->m_displayNames = m_displayNames;
    return copy;
}

void cFeatureInstance::setDisplayName(const QString& language, const QString& text)
{
    m_displayNames.insert({QStringLiteral("displayname"), language}, text);
}

void cFeatureCatalogue::setCoreVersion(const cVersion& version)
{
    m_coreVersion = version;
    m_hasCoreVersion = true;
}

void cFeatureCatalogue::clearCoreVersion()
{
    m_coreVersion = cVersion();
    m_hasCoreVersion = false;
}

void cFeatureCatalogue::clear()
{
    m_features.clear();
    m_runtimes.clear();
}

void cRuntimeInfo::takeNewest(const cFeatureCatalogue& repository, const cUpdateLocation& location)
{
    for (const cRuntimeEntry& entry : repository.runtimes()) {
        // Of equal versions the first entry stays.
        if (!(m_version < entry.version))
            continue;
        m_version = entry.version;
        m_name = entry.name;
        m_hash = entry.hash;
        m_hashFault = entry.hashFault;
        m_source = location.resolve(entry.source);
    }
}

void cRuntimeInfo::onProgress(qint64 bytesSoFar, qint64 bytesTotal)
{
    emit progress(m_name, bytesSoFar, bytesTotal);
}
