#include "install/cPackageSource.h"

#include "config/cFeatureInstance.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

cPackageSource::cPackageSource(const QString& path)
    : m_folder(QFileInfo(path).absolutePath())
    , m_location(QSharedPointer<cUpdateLocation>::create(QUrl::fromLocalFile(m_folder)))
{
}

QString cPackageSource::besideDescription(const cFeaturePlugin& plugin) const
{
    return QDir(m_folder).absoluteFilePath(plugin.packageFileName());
}

QString cPackageSource::find(const cFeaturePlugin& plugin) const
{
    const QString beside = besideDescription(plugin);
    if (QFileInfo(beside).isFile())
        return beside;
    for (cFeatureSource source : plugin.sources()) {
        if (!source.location)
            source.location = m_location;
        const QString path = source.url().toLocalFile();
        if (QFileInfo(path).isFile())
            return path;
    }
    return QString();
}
