#include "install/cUninstallation.h"

#include "config/cConfigurationMgr.h"
#include "core/Files.h"
#include "install/cCommandRunner.h"
#include "install/cInstallPlan.h"
#include "install/cPluginFolders.h"
#include "install/cRepositorySettings.h"
#include "plugins/cFileRecord.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

cUninstallation::cUninstallation(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins,
                                 const cLog& log)
    : m_manager(manager), m_configuration(configuration), m_plugins(plugins), m_log(log)
{
}

bool cUninstallation::run()
{
    (void)m_configuration.loadFeatures();
    const QString fault = m_configuration.catalogueFault();
    if (!fault.isEmpty()) {
        m_log.error().noquote() << "Nothing is uninstalled: the list of what is installed is damaged:" << fault
                                << Qt::endl;
        return false;
    }
    if (!removePlugins(m_configuration.installed()) || !removeSettings() || !removeFeaturesFile())
        return false;
    removeEmptiedFolders();
    m_configuration.setInstalled(cFeatureCatalogue());
    m_plugins.clearAllowed();
    return true;
}

bool cUninstallation::removePlugins(const cFeatureCatalogue& installed)
{
    cFolderSweep sweep(m_manager, m_log);
    (void)sweep.restoreReplaced();
    cCommandRunner commands(m_manager, m_log);
    bool isDone = true;
    for (const cPluginId& id : pluginsOf(installed.features())) {
        // A run that was cut off may have removed it already.
        if (!id.isSafe() || !Corvane::pluginDir(id).exists())
            continue;
        commands.run(*m_plugins.findOrMake(id), IInstallMgr::OPERATION_UNINSTALL);
        isDone = sweep.remove(id) && isDone;
    }
    sweep.run(QSet<cPluginId>());
    return isDone;
}

bool cUninstallation::removeSettings()
{
    cRepositorySettings settings;
    if (settings.remove())
        return true;
    m_log.error().noquote() << "The repository settings of the machine cannot be removed:" << settings.errorString()
                            << Qt::endl;
    return false;
}

bool cUninstallation::removeFeaturesFile()
{
    // The copy last: without the file itself nothing is installed any more.
    for (const QString& path :
         {cFileRecord::path(), cFolderSweep::damagedFeaturesFile(), Corvane::velmiraFolderOrFile(Corvane::FeaturesFile),
          cConfigurationMgr::lastFeaturesFile()}) {
        QFile file(path);
        if (!file.exists() || file.remove())
            continue;
        m_log.error().noquote() << path << "cannot be removed:" << causeOfSystem(path, file.errorString()) << Qt::endl;
        return false;
    }
    return true;
}

// The plugins folder, and the root above it; what else is in them keeps them.
void cUninstallation::removeEmptiedFolders()
{
    if (QDir().rmdir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)))
        QDir().rmdir(Corvane::velmiraFolderOrFile(Corvane::CoreFolder));
}
