#pragma once

#include <Norvale/cLog.h>

class cConfigurationMgr;
class cFeatureCatalogue;
class cInstallMgr;
class cPluginMgr;

/**
 * Uninstalls everything. An object makes one run; one that was cut off can be repeated, for the list of what is
 * installed goes last.
 */
class cUninstallation
{
public:
    /// All are used as long as this object lives.
    cUninstallation(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins, const cLog& log);

    /// False when something stays that should not; it is logged, and still counts as installed where it is a plugin.
    /// With a damaged features file nothing is done.
    [[nodiscard]] bool run();

private:
    bool removePlugins(const cFeatureCatalogue& installed);
    bool removeSettings();
    bool removeFeaturesFile();
    static void removeEmptiedFolders();

    cInstallMgr& m_manager;
    cConfigurationMgr& m_configuration;
    cPluginMgr& m_plugins;
    cLog m_log;
};
