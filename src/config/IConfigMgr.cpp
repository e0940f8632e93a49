#include <Norvale/IConfigMgr.h>

#include "config/cConfigurationMgr.h"

#include <Norvale/cLogCentral.h>

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

void IConfigMgr::connectProgressSlot(QObject* receiver, const char* slot)
{
    if (cConfigurationMgr* manager = cConfigurationMgr::instance()) {
        manager->connectProgressSlot(receiver, slot);
        return;
    }
    cLogCentral::log(QStringLiteral("ConfigurationMgr")).warning()
        << "Progress is not connected: the library is not initialized" << Qt::endl;
}
