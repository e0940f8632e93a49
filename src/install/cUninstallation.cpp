#include "install/cUninstallation.h"

#include "config/cConfigurationMgr.h"
#include "install/cCommandRunner.h"
#include "install/cFolderSweep.h"
#include "install/cRepositorySettings.h"
#include "plugins/cPluginMgr.h"
#include "version/SafeName.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSet>

cUninstallation::cUninstallation(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins,
                                 const cLog& log)
    : m_manager(manager), m_configuration(configuration), m_plugins(plugins), m_log(log)
{
}

bool cUninstallation::run()
{
    // Without a readable list of what is installed there is nothing to uninstall but that list.
    (void)m_configuration.loadFeatures();
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
    cCommandRunner commands(m_manager, m_log);
    bool isDone = true;
    QSet<QString> seen;
    for (const QSharedPointer<cFeatureInstance>& feature : installed.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            const QString identity = plugin->identity();
            if (seen.contains(identity) || !isSafeFileName(plugin->name()))
                continue;
            seen.insert(identity);
            // A run that was cut off has removed it already.
            if (!Corvane::pluginDir(plugin->name(), plugin->version().toString()).exists())
                continue;
            commands.run(*m_plugins.findOrMake(plugin->name(), plugin->version()), IInstallMgr::OPERATION_UNINSTALL);
            isDone = sweep.remove(identity) && isDone;
        }
    }
    sweep.run(QSet<QString>());
    return isDone;
}

bool cUninstallation::removeSettings()
{
    if (cRepositorySettings().remove())
        return true;
    m_log.error() << "The repository settings of the machine cannot be removed" << Qt::endl;
    return false;
}

bool cUninstallation::removeFeaturesFile()
{
    QFile file(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile));
    if (!file.exists() || file.remove())
        return true;
    m_log.error().noquote() << file.fileName() << "cannot be removed:" << file.errorString() << Qt::endl;
    return false;
}

// The plugins folder, and the root above it; what else is in them keeps them.
void cUninstallation::removeEmptiedFolders()
{
    if (QDir().rmdir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)))
        QDir().rmdir(Corvane::velmiraFolderOrFile(Corvane::CoreFolder));
}
