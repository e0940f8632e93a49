#pragma once

#include "plugins/cPluginSuite.h"

#include "version/FlatMap.h"

#include <QtCore/QVector>

#include <functional>

class cGuard;
class cServiceMgr;
class cStartJournal;

/**
 * Loads and starts plugins with what they depend on, and stops what it has started.
 *
 * A stop that is asked for while a plugin is being loaded waits until that is done, and lets nothing else begin. After
 * a stop nothing is loaded any more. A start that fails leaves nothing of the plugin behind.
 */
class cPluginRunner
{
public:
    using Plugin = cPluginSuite::Plugin;

    cPluginRunner(cPluginSuite& suite, cPluginReporter& reporter, cGuard& guard)
        : m_suite(suite), m_reporter(reporter), m_guard(guard)
    {
    }

    /// Who is told of the stop, and gives up what a failed start has registered. Not owned; may be null.
    void setServiceMgr(cServiceMgr* services) { m_services = services; }

    /// Who runs the plugins that are to run in processes of their own. Not owned; without it they cannot be loaded.
    void setProcesses(IPluginProcesses* processes) { m_processes = processes; }

    /// What IPluginMgr::load() describes.
    bool load(const QString& name);

    /// Does the work of a start. While it goes on, a plugin that has failed is not tried again.
    void start(const std::function<void()>& work);

    /// What IPluginMgr::StopNormal() describes.
    void stopAll();

    /// What the plugin has started without, as its manifest declares it, for people; empty when there is nothing. As it
    /// is now: a service may come later, or go.
    QString whatIsMissing(const cPluginInstance& plugin) const;

    /// Whether a stop has been made or asked for.
    bool isStopping() const { return m_phase != Phase::Open; }

private:
    enum class Phase { Open, StopWanted, Stopping, Stopped };
    class cLoadPath;

    void work(const std::function<void()>& step);
    bool loadWithDependencies(const Plugin& wanted);
    bool descendTo(const QString& dependency, cLoadPath& path);
    bool failWith(const cLoadPath& path);
    bool fail(cPluginInstance& plugin, const QString& reason);
    bool noteFailure(cPluginInstance& plugin, const QString& reason);
    bool refuse(const QString& name, const QString& reason);
    bool loadAndStart(const Plugin& plugin);
    bool loadLibrary(cPluginInstance& plugin, cStartJournal& journal);
    bool takeProcess(cPluginInstance& plugin);
    bool start(cPluginInstance& plugin, cStartJournal& journal);
    QStringList missingServices(const cPluginInstance& plugin) const;
    void tellMissingServices(const cPluginInstance& plugin);
    void takeBack(const cPluginInstance& plugin, cStartJournal& journal);
    void stopNow();
    void stop(cPluginInstance& plugin);

    cPluginSuite& m_suite;
    cPluginReporter& m_reporter;
    cGuard& m_guard;
    cServiceMgr* m_services = nullptr;
    IPluginProcesses* m_processes = nullptr;
    QVector<Plugin> m_started; // in the order of the starts
    Phase m_phase = Phase::Open;
    int m_depth = 0; // of steps that load plugins, which nest
    bool m_isStartGoingOn = false;
    FlatSet<const cPluginInstance*> m_failed; // in the start that goes on, and while receivers are told of it
};
