#include "config/cFeaturePlugin.h"

cFeaturePlugin::cFeaturePlugin(const QString& name, const cVersion& version, quint32 size)
    : m_name(name), m_version(version), m_size(size)
{
}

QString cFeaturePlugin::identity() const
{
    return m_name + QLatin1Char('-') + m_version.toString();
}

QString cFeaturePlugin::packageFileName() const
{
    return identity() + QStringLiteral(".zip");
}

void cFeaturePlugin::onProgress(qint64 downloadedSize, qint64 totalSize)
{
    emit progress(packageFileName(), downloadedSize, totalSize);
}
