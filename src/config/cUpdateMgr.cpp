#include "config/cUpdateMgr.h"

#include "core/Settings.h"

namespace {
cUpdateMgr* s_instance = nullptr;
}

cUpdateMgr::cUpdateMgr()
{
    s_instance = this;
}

cUpdateMgr::~cUpdateMgr()
{
    s_instance = nullptr;
}

cUpdateMgr* cUpdateMgr::instance()
{
    return s_instance;
}

void cUpdateMgr::loadLocations()
{
    m_locations.clear();
    cHostSettings settings;
    settings.beginGroup(QLatin1String(SettingsKey::UpdateLocations));
    const QStringList keys = settings.allKeys();
    for (const QString& key : keys) {
        const auto location = QSharedPointer<cUpdateLocation>::create();
        location->readFrom(settings.value(key));
        m_locations.append(location);
    }
    settings.endGroup();
}

void cUpdateMgr::onProgress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes)
{
    emit progress(filenameBeingDownloaded, downloadedBytes, totalBytes);
}
