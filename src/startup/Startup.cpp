#include <Norvale/Corvane.h>

#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "core/InstallRecord.h"
#include "install/cInstallMgr.h"
#include "isolation/cPluginHost.h"
#include "isolation/cPluginProcesses.h"
#include "log/cFrameworkLog.h"
#include "plugins/cPluginMgr.h"
#include "services/cServiceMgr.h"

#include <Norvale/cLogCentral.h>

#include <QtCore/QFileInfo>

#include <new>

namespace {

// Made by initialize() in this order and kept until the process ends. A failing step leaves what was made before it, so
// a later initialize() goes on from there.
struct Managers
{
    cPluginMgr* plugins = nullptr;
    cServiceMgr* services = nullptr;
    cConfigurationMgr* configuration = nullptr;
    cInstallMgr* install = nullptr;
    cUpdateMgr* update = nullptr;
};
Managers s_managers;

cLog frameworkLog()
{
    return cFrameworkLog::library();
}

bool createPluginMgr()
{
    if (s_managers.plugins)
        return true;
    s_managers.plugins = new (std::nothrow) cPluginMgr;
    if (!s_managers.plugins)
        return false;
    static cPluginProcesses processes;
    s_managers.plugins->setProcesses(&processes);
    return true;
}

bool createServiceMgr()
{
    if (s_managers.services)
        return true;
    s_managers.services = new (std::nothrow) cServiceMgr;
    s_managers.plugins->setServiceMgr(s_managers.services);
    return s_managers.services;
}

bool createConfigurationMgr()
{
    if (s_managers.configuration)
        return true;
    s_managers.configuration = new (std::nothrow) cConfigurationMgr(*s_managers.plugins);
    s_managers.plugins->setInstalledPlugins(s_managers.configuration);
    return s_managers.configuration;
}

bool createInstallMgr()
{
    if (!s_managers.install)
        s_managers.install = new (std::nothrow) cInstallMgr(*s_managers.configuration, *s_managers.plugins);
    return s_managers.install;
}

bool createUpdateMgr()
{
    if (s_managers.update)
        return true;
    s_managers.update = new (std::nothrow) cUpdateMgr;
    if (!s_managers.update)
        return false;
    s_managers.update->loadLocations();
    return QObject::connect(s_managers.update, SIGNAL(progress(QString, qint64, qint64)), s_managers.configuration,
                            SLOT(onProgress(QString, qint64, qint64)));
}

bool isInitialized()
{
    return s_managers.update;
}

/// The plugin manager, or null with the reason logged.
cPluginMgr* pluginMgrFor(const char* caller)
{
    if (!s_managers.plugins)
        frameworkLog().error() << caller << "needs initialize() first" << Qt::endl;
    return s_managers.plugins;
}

} // namespace

bool Corvane::initialize()
{
    if (isInitialized()) {
        frameworkLog().warning() << "initialize() was called again; nothing is done" << Qt::endl;
        return true;
    }
    if (!initializeFolderOrFile() || !cLogCentral::initialize())
        return false;
    if (installRecord().isEmpty())
        frameworkLog().warning().noquote()
            << "There is no" << installRecordPlace() + QLatin1Char(':')
            << "the current folder is taken for the installation," << velmiraFolderOrFile(CoreFolder) << Qt::endl;
    else if (!QFileInfo::exists(velmiraFolderOrFile(PluginsFolder)) &&
             !QFileInfo::exists(velmiraFolderOrFile(BootstrapFolder)))
        frameworkLog().warning().noquote()
            << "Nothing is in" << velmiraFolderOrFile(CoreFolder)
            << "that could be installed or started; the folder is named by" << installRecordPlace() << Qt::endl;
    return createPluginMgr() && createServiceMgr() && createConfigurationMgr() && createInstallMgr() &&
           createUpdateMgr();
}

bool Corvane::startNormal()
{
    cPluginMgr* plugins = pluginMgrFor("startNormal()");
    return plugins && plugins->StartNormal();
}

void Corvane::stopNormal()
{
    if (cPluginMgr* plugins = pluginMgrFor("stopNormal()"))
        plugins->StopNormal();
}

void Corvane::setLoadCategories(const QStringList& categories)
{
    if (cPluginMgr* plugins = pluginMgrFor("setLoadCategories()"))
        plugins->setLoadCategories(categories);
}

/**
 * What the program VPlugin does once it is told its plugin: it serves the suite at the other end of a connection until
 * that ends. The program links no part of the library, and finds this function by its name.
 *
 * @param connection the end of the connection, as the system names it.
 * @return the exit code of the process.
 */
extern "C" NORVALE_EXPORT int norvale_run_plugin(qintptr connection)
{
    // Never destroyed: what the plugin destroys when the process ends may still ask for the service manager.
    static auto* const host = new cPluginHost(connection, &Corvane::initialize);
    return host->run();
}
