#include "config/cUpdateMgr.h"

#include "config/cRepositorySearch.h"
#include "core/Settings.h"
#include "log/cFrameworkLog.h"

#include <Norvale/cLog.h>

#include <QtCore/QPointer>

namespace {
cUpdateMgr* s_updateMgr = nullptr;
}

cUpdateMgr::cUpdateMgr()
{
    s_updateMgr = this;
}

cUpdateMgr::~cUpdateMgr()
{
    cancel();
    s_updateMgr = nullptr;
}

cUpdateMgr* cUpdateMgr::instance()
{
    return s_updateMgr;
}

void cUpdateMgr::loadLocations()
{
    m_locations = cUpdateLocation::readAll();
}

bool cUpdateMgr::findNewest(const QString& repositoryName, cFeatureCatalogue& catalogue, cRuntimeInfo& runtime)
{
    if (m_search) {
        cFrameworkLog::configuration().warning()
            << "No search for a newer repository while another one waits" << Qt::endl;
        return false;
    }
    loadLocations();
    const QString status =
        cMachineSettings().value(QLatin1String(SettingsKey::RepositoryStatus), QStringLiteral("release")).toString();
    cRepositorySearch search(m_locations, repositoryName, status);
    connect(&search, &cRepositorySearch::progress, this, &cUpdateMgr::onProgress);
    m_search = &search;
    m_isCancelled = false;
    m_isComplete = false;
    m_lastSites = {};
    m_trustedSite.clear();
    const QPointer<cUpdateMgr> self(this);
    const bool isFound = search.run(catalogue, runtime);
    if (self) {
        m_search = nullptr;
        m_trustedSite = search.site();
        m_lastSites = {int(m_locations.size()), search.failures()};
        m_isComplete = search.isComplete() && !m_isCancelled;
    }
    return isFound;
}

void cUpdateMgr::cancel()
{
    if (!m_search)
        return;
    m_isCancelled = true;
    m_search->cancel();
}

void cUpdateMgr::onProgress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes)
{
    emit progress(filenameBeingDownloaded, downloadedBytes, totalBytes);
}
