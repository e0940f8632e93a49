#include "config/cFeatureCatalogue.h"

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
        m_source = location.resolve(entry.source);
    }
}

void cRuntimeInfo::onProgress(qint64 bytesSoFar, qint64 bytesTotal)
{
    emit progress(m_name, bytesSoFar, bytesTotal);
}
