#include <Norvale/IConfigMgr.h>

#include "config/cConfigurationMgr.h"
#include "config/cUpdateCheck.h"
#include "config/cUpdateMgr.h"
#include "log/cFrameworkLog.h"

namespace {

/// The configuration manager, or null with the reason logged behind @p consequence.
cConfigurationMgr* managerFor(const char* consequence)
{
    cConfigurationMgr* manager = cConfigurationMgr::instance();
    if (!manager) {
        cFrameworkLog::configuration().warning().noquote()
            << QLatin1String(consequence) + QStringLiteral(": the library is not initialized") << Qt::endl;
    }
    return manager;
}

} // namespace

bool IConfigMgr::isFeatureInstalled(const QString& name)
{
    const cConfigurationMgr* manager = cConfigurationMgr::instance();
    return manager && manager->isFeatureInstalled(name);
}

QList<cFeatureInfo> IConfigMgr::installedFeatures()
{
    const cConfigurationMgr* manager = cConfigurationMgr::instance();
    return manager ? manager->installedFeatures() : QList<cFeatureInfo>();
}

cJsonValue IConfigMgr::checkForUpdates()
{
    cConfigurationMgr* manager = managerFor("Updates are not checked for");
    return manager ? manager->checkForUpdates() : cUpdateCheck::notChecked();
}

cJsonValue IConfigMgr::doUpdateOn(QStringList names)
{
    cConfigurationMgr* manager = managerFor("Nothing is updated");
    return manager ? manager->doUpdateOn(names) : cUpdateCheck::notChecked();
}

void IConfigMgr::cancelUpdate()
{
    if (cConfigurationMgr* manager = managerFor("No update is cancelled"))
        manager->cancelUpdate();
}

void IConfigMgr::connectProgressSlot(QObject* receiver, const char* slot)
{
    if (cConfigurationMgr* manager = managerFor("Progress is not connected"))
        manager->connectProgressSlot(receiver, slot);
}

QList<QUrl> IConfigMgr::updateLocations()
{
    QList<QUrl> urls;
    for (const QSharedPointer<cUpdateLocation>& location : cUpdateLocation::readAll())
        urls.append(location->url());
    return urls;
}

cSitesOutcome IConfigMgr::lastSites()
{
    const cUpdateMgr* const manager = cUpdateMgr::instance();
    return manager ? manager->lastSites() : cSitesOutcome();
}

bool IConfigMgr::setUpdateLocations(const QList<QUrl>& urls)
{
    QString error;
    if (!cUpdateLocation::writeAll(urls, &error)) {
        cFrameworkLog::configuration().error().noquote() << "The update locations are not kept:" << error << Qt::endl;
        return false;
    }
    if (cUpdateMgr* manager = cUpdateMgr::instance())
        manager->loadLocations();
    return true;
}
