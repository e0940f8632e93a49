#pragma once

#include "plugins/cPluginRegistry.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLog.h>
#include <Norvale/cVersion.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

class IInstalledPlugins;
class cLoadPath;
class cServiceMgr;

/**
 * The plugin manager: owns every plugin record, orders, loads, starts and stops them.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only; nothing is locked. The order of the virtual functions is fixed by IPluginMgr.
 */
class cPluginMgr : public IPluginMgr
{
    Q_OBJECT

public:
    using Plugin = cPluginRegistry::Plugin;

    cPluginMgr();
    ~cPluginMgr() override;

    /// Who publishes the installed plugins. Not owned; needed from StartNormal() or discover() on.
    void setInstalledPlugins(IInstalledPlugins* installed) { m_installed = installed; }

    /// Who is told of completed categories and of the stop. Not owned.
    void setServiceMgr(cServiceMgr* services) { m_services = services; }

    /// The categories that StartNormal() loads, in this order.
    void setLoadCategories(const QStringList& categories) { m_loadCategories = categories; }

    /// Begins a new publication: no record counts as registered until it is registered again. The load list stays.
    void clearAllowed() { m_registry.clearAllowed(); }

    /// Registers a plugin for this run and appends its record to the load list, also when it stands there already.
    void registerPlugin(const QString& name, const cVersion& version) { m_registry.registerPlugin(name, version); }

    /// The record of exactly that name and version; made, with the folder of an installed plugin, if there is none.
    Plugin findOrMake(const QString& name, const cVersion& version) { return m_registry.findOrMake(name, version); }

    /// @return true when a record of exactly that name and version has been made.
    bool isKnown(const QString& name, const cVersion& version) const { return m_registry.isKnown(name, version); }

    bool StartNormal() override;
    void StopNormal() override;
    bool discover() override;
    QList<cPluginInfo> plugins() const override;
    void setObserver(IPluginObserver* observer) override { m_observer = observer; }

    void dumpPlugins() override {}
    void OnRestart() override {}

protected:
    bool loadPlugin(QString name) override;
    QString pluginOfService(QString service) const override;
    bool loadPluginByService(QString service) override;

private:
    bool publish();
    bool isCoreInstalled();
    bool readManifests();
    bool readManifest(cPluginInstance& plugin);
    bool isApiVersionRight(const cPluginInstance& plugin);
    bool enterServices(const cPluginInstance& plugin);
    bool orderPlugins();
    void connectSignals();
    void loadByCategories();
    void loadCategory(const QList<Plugin>& plugins, const QString& category);
    void requestLoad(const QString& name);

    bool loadWithDependencies(const Plugin& plugin);
    bool descendTo(const QString& dependency, cLoadPath& path);
    bool loadAndStart(const Plugin& plugin);
    bool loadLibrary(cPluginInstance& plugin);
    bool start(cPluginInstance& plugin);
    QStringList unregisteredServices(const cPluginInstance& plugin) const;
    void withdraw(const QStringList& services);
    void stop(cPluginInstance& plugin);
    bool refuse(const QString& reason);

    cPluginRegistry m_registry;
    QList<Plugin> m_startedList; // in the order of the starts
    QStringList m_loadCategories;
    QMap<QString, QString> m_serviceMap; // service name -> name of the plugin that declares it
    IInstalledPlugins* m_installed = nullptr;
    cServiceMgr* m_services = nullptr;
    IPluginObserver* m_observer = nullptr;
    bool m_isStopping = false;
    cLog m_log;
};
