#pragma once

#include "guard/cGuard.h"
#include "plugins/cPluginReporter.h"
#include "plugins/cPluginRunner.h"
#include "plugins/cPluginSuite.h"

#include <Norvale/IPluginMgr.h>

/**
 * The plugin manager: the steps of start and stop, over the suite of installed plugins and the runner that loads,
 * starts and stops them.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only; nothing is locked. The order of the virtual functions is fixed by IPluginMgr.
 */
class cPluginMgr : public IPluginMgr
{
    Q_OBJECT

public:
    using Plugin = cPluginSuite::Plugin;

    cPluginMgr();

    /// Who publishes the installed plugins. Not owned; needed from StartNormal() or discover() on.
    void setInstalledPlugins(IInstalledPlugins* installed) { m_suite.setInstalledPlugins(installed); }

    /// Who is told of completed categories and of the stop. Not owned.
    void setServiceMgr(cServiceMgr* services);

    /// Who runs the plugins that are to run in processes of their own. Not owned.
    void setProcesses(IPluginProcesses* processes) { m_runner.setProcesses(processes); }

    /// The categories that StartNormal() loads, in this order. Once it has begun with them, others are for the next
    /// start.
    void setLoadCategories(const QStringList& categories);

    /// Begins a new publication: no record counts as registered until it is registered again. The load list stays.
    void clearAllowed() { m_suite.clearAllowed(); }

    /// Registers a plugin for this run and appends its record to the load list, also when it stands there already.
    void registerPlugin(const cPluginId& id) { m_suite.registerPlugin(id); }

    /// The record of exactly that plugin; made, with the folder of an installed plugin, if there is none.
    Plugin findOrMake(const cPluginId& id) { return m_suite.findOrMake(id); }

    /// @return true when a record of exactly the plugin @p id, which has the hash @p hash, has been made.
    bool isKnown(const cPluginId& id, std::size_t hash) const { return m_suite.isKnown(id, hash); }

    bool StartNormal() override;
    void StopNormal() override { m_runner.stopAll(); }
    bool discover() override;
    QList<cPluginInfo> plugins() const override;
    void setObserver(IPluginObserver* observer) override;
    cStartOutcome lastOutcome() const override { return m_outcome; }
    void setGuard(const cGuardOptions& options) override { m_guard.setOptions(options); }
    cPluginFailure lastFailure() const override { return m_guard.lastFailure(); }
    void leaveOut(const QStringList& plugins) override { m_suite.leaveOut(plugins); }

    void dumpPlugins() override {}
    void OnRestart() override {}

protected:
    bool loadPlugin(QString name) override;
    QString pluginOfService(QString service) const override;
    bool loadPluginByService(QString service) override;

private:
    cStartOutcome::Result start();
    cStartOutcome::Result prepare();
    bool conclude(cStartOutcome::Result result, const QStringList& reasons);
    cPluginInfo infoOf(const Plugin& plugin) const;
    QString whyNotAskedFor(const cPluginInstance& plugin) const;
    void connectSignals();
    void loadByCategories();
    void loadSettings();
    void tellUnknownCategories(const QVector<Plugin>& plugins);
    void loadCategory(const QVector<Plugin>& plugins, const QString& category);
    void requestLoad(const Plugin& plugin);
    void requestLoad(const QString& name);

    cGuard m_guard;
    cPluginReporter m_reporter;
    mutable cPluginSuite m_suite{m_reporter}; // reads what has been published meanwhile when it is asked
    cPluginRunner m_runner{m_suite, m_reporter, m_guard};
    cServiceMgr* m_services = nullptr;
    QStringList m_loadCategories;
    cStartOutcome m_outcome;
    bool m_isStarting = false;
    bool m_isSettingsPluginOptional = false; // while the start asks for it
};
