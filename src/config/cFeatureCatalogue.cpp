#include "config/cFeatureCatalogue.h"

#include <algorithm>

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

cFeatureInstance::cFeatureInstance(QString name, const cVersion& version, bool isActive, QString repository)
    : m_name(std::move(name)), m_version(version), m_isActive(isActive), m_repository(std::move(repository))
{
}

QSharedPointer<cFeatureInstance> cFeatureInstance::copy(const cVersion& version) const
{
    const auto copy = QSharedPointer<cFeatureInstance>::create(m_name, version, m_isActive, m_repository);
    copy->m_dependencies = m_dependencies;
    copy->m_displayNames = m_displayNames;
    copy->m_notes = m_notes;
    return copy;
}

void cFeatureInstance::setDisplayName(const QString& language, const QString& text)
{
    const auto place =
        std::lower_bound(m_displayNames.begin(), m_displayNames.end(), language,
                         [](const DisplayName& name, const QString& wanted) { return name.language < wanted; });
    if (place != m_displayNames.end() && place->language == language)
        place->text = text;
    else
        m_displayNames.insert(place, {language, text});
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
