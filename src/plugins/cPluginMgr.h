#pragma once

#include "plugins/cPluginInstance.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLog.h>
#include <Norvale/cVersion.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>

class IInstalledPlugins;
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
    using Plugin = QSharedPointer<cPluginInstance>;

    cPluginMgr();
    ~cPluginMgr() override;

    /// Who publishes the installed plugins. Not owned; needed from StartNormal() or discover() on.
    void setInstalledPlugins(IInstalledPlugins* installed) { m_installed = installed; }

    /// Who is told of completed categories and of the stop. Not owned.
    void setServiceMgr(cServiceMgr* services) { m_services = services; }

    /// The categories that StartNormal() loads, in this order.
    void setLoadCategories(const QStringList& categories) { m_loadCategories = categories; }

    /// Begins a new publication: no record counts as registered until it is registered again. The load list stays.
    void clearAllowed();

    /// Registers a plugin for this run and appends its record to the load list, also when it stands there already.
    void registerPlugin(const QString& name, const cVersion& version);

    /// The record of exactly that name and version; made, with the folder of an installed plugin, if there is none.
    Plugin findOrMake(const QString& name, const cVersion& version);

    /// @return true when a record of exactly that name and version has been made.
    bool isKnown(const QString& name, const cVersion& version) const;

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
    using Key = QPair<QString, cVersion>;
    struct PendingLoad;

    bool publish();
    bool bringUp();
    bool isCoreInstalled();
    bool readManifests(bool goOnOverFaults);
    bool readManifest(cPluginInstance& plugin);
    bool acceptManifest(cPluginInstance& plugin);
    bool enterServices(const cPluginInstance& plugin);
    bool orderPlugins();
    void connectSignals();
    void loadByCategories();
    void loadCategory(const QString& category);
    void loadAutoload();

    Plugin findByName(const QString& name) const;
    bool loadWithDependencies(const Plugin& plugin);
    bool descend(QList<PendingLoad>& path);
    bool loadAndStart(const Plugin& plugin);
    bool loadLibrary(cPluginInstance& plugin);
    bool start(cPluginInstance& plugin);
    void withdrawServices(const cPluginInstance& plugin);
    void stop(cPluginInstance& plugin);
    bool refuse(const QString& reason);

    QList<Plugin> m_loadList;       // as registered; a record may stand in it more than once
    QMap<Key, Plugin> m_allPlugins; // every record ever made
    QList<Plugin> m_startedList;    // in the order of the starts
    QStringList m_loadCategories;
    QMap<QString, QString> m_serviceMap; // service name -> name of the plugin that declares it

    QHash<QString, QList<Plugin>> m_loadListByName; // index of m_loadList: each record once, in list order
    IInstalledPlugins* m_installed = nullptr;
    cServiceMgr* m_services = nullptr;
    IPluginObserver* m_observer = nullptr;
    bool m_isStarting = false;
    bool m_isStopping = false;
    cLog m_log;
};
