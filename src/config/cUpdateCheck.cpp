#include "config/cUpdateCheck.h"

#include <Norvale/cLogCentral.h>

cUpdateCheck::cUpdateCheck(const cFeatureCatalogue& installed, const cPluginMgr& plugins)
    : m_installed(installed), m_known(plugins), m_log(cLogCentral::log(QStringLiteral("ConfigurationMgr")))
{
}

bool cUpdateCheck::needsUpdate(const cFeatureInstance* installed, const cFeatureInstance& available)
{
    return !installed || installed->version() < available.version() ||
           installed->repository() != available.repository();
}
