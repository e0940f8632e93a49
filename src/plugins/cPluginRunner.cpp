#include "plugins/cPluginRunner.h"

#include "plugins/cPluginDependency.h"
#include "plugins/cPluginReporter.h"
#include "services/cServiceMgr.h"

#include <QtCore/QSet>

/**
 * The way from a plugin that is to be loaded down to the dependency that is looked at right now: the stack of a
 * depth-first walk, kept here so that a long chain of plugins does not take that of the thread.
 */
class cPluginRunner::cLoadPath
{
public:
    void descend(const Plugin& plugin)
    {
        m_steps.append({plugin, plugin->dependencies(), 0});
        m_members.insert(plugin.data());
    }

    void ascend()
    {
        m_members.remove(plugin().data());
        m_steps.removeLast();
    }

    bool contains(const Plugin& plugin) const { return m_members.contains(plugin.data()); }

    /// The plugin that the path has come to.
    const Plugin& plugin() const { return m_steps.last().plugin; }

    /// Takes the plugin's next dependency, in manifest order. @return its text; null when all have been taken.
    const QString* takeDependency()
    {
        Step& step = m_steps.last();
        return step.taken < step.dependencies.size() ? &step.dependencies.at(step.taken++) : nullptr;
    }

    /// The names from the plugin wanted to the one that the path has come to, "A -> B -> C"; of a long path both ends.
    QString text() const
    {
        constexpr int ShownAtEachEnd = 8; // a line of a log is read by people
        const bool isLong = m_steps.size() > 2 * ShownAtEachEnd;
        QStringList names;
        for (int i = 0; i < m_steps.size(); ++i) {
            if (isLong && i == ShownAtEachEnd) {
                names.append(QStringLiteral("..."));
                i = m_steps.size() - ShownAtEachEnd;
            }
            names.append(m_steps.at(i).plugin->name());
        }
        return names.join(QStringLiteral(" -> "));
    }

private:
    struct Step
    {
        Plugin plugin;
        QStringList dependencies;
        int taken = 0;
    };

    QVector<Step> m_steps;
    QSet<const cPluginInstance*> m_members;
};

bool cPluginRunner::load(const QString& name)
{
    m_suite.refresh();
    const Plugin plugin = m_suite.find(name);
    if (!plugin)
        return m_reporter.logAndFail(
            QStringLiteral("plugin \"%1\" is not loaded: no such plugin is installed").arg(name));
    return plugin->isLibraryLoaded() || loadWithDependencies(plugin);
}

// Dependencies first, in manifest order. One counts as there when its library is loaded; so a dependency whose library
// stayed loaded without making a plugin object does not keep those that depend on it from loading.
bool cPluginRunner::loadWithDependencies(const Plugin& wanted)
{
    cLoadPath path;
    path.descend(wanted);
    while (true) {
        if (const QString* const dependency = path.takeDependency()) {
            if (!descendTo(cPluginDependency(*dependency).name(), path))
                return false;
            continue;
        }
        const Plugin plugin = path.plugin();
        // One of its dependencies may have loaded it from its own start.
        const bool isDone = plugin->isLibraryLoaded() || loadAndStart(plugin);
        if (plugin == wanted)
            return isDone;
        if (!plugin->isLibraryLoaded())
            return m_reporter.logAndFail(QStringLiteral("plugin \"%1\" is not loaded: a dependency failed (%2)")
                                             .arg(wanted->name(), path.text()));
        path.ascend();
    }
}

bool cPluginRunner::descendTo(const QString& dependency, cLoadPath& path)
{
    const Plugin plugin = m_suite.find(dependency);
    if (plugin && plugin->isLibraryLoaded())
        return true;
    if (plugin && !path.contains(plugin)) {
        path.descend(plugin);
        return true;
    }
    const QString reason = plugin ? QStringLiteral("plugin \"%1\" depends on itself (%2 -> %1)")
                                  : QStringLiteral("plugin \"%1\", a dependency, is not installed (%2 -> %1)");
    return m_reporter.logAndFail(reason.arg(dependency, path.text()));
}

bool cPluginRunner::loadAndStart(const Plugin& plugin)
{
    const QString id = plugin->id().toString();
    if (plugin->stage() == cPluginInstance::Stage::Loading)
        return m_reporter.logAndFail(QStringLiteral("%1 asks for itself while its library is being loaded").arg(id));
    if (!m_reporter.observe(IPluginObserver::LoadLibrary, plugin->name(), [&] { return plugin->loadLibrary(); }))
        return m_reporter.logAndFail(QStringLiteral("%1 is not loaded: %2").arg(id, plugin->errorString()));
    const QStringList ownServices = unregisteredServices(*plugin);
    if (!m_reporter.observe(IPluginObserver::StartPlugin, plugin->name(), [&] { return plugin->start(); })) {
        m_reporter.logAndFail(QStringLiteral("%1 is not started: %2").arg(id, plugin->errorString()));
        withdraw(ownServices);
        plugin->unloadLibrary();
        return false;
    }
    m_started.append(plugin);
    m_reporter.info(QStringLiteral("started %1").arg(id));
    return true;
}

QStringList cPluginRunner::unregisteredServices(const cPluginInstance& plugin) const
{
    QStringList services;
    for (const QString& service : plugin.services()) {
        if (m_services && !m_services->serviceExists(service))
            services.append(service);
    }
    return services;
}

// A service that a plugin has left behind in its failed start would be called in a library that is gone.
void cPluginRunner::withdraw(const QStringList& services)
{
    for (const QString& service : services) {
        QObject* object = m_services->serviceFromServiceName(service);
        if (!object)
            continue;
        m_services->unregisterService(object);
        m_reporter.warn(QStringLiteral("withdrew the service \"%1\" of a plugin that did not start").arg(service));
    }
}

void cPluginRunner::stopAll()
{
    if (m_isStopping)
        return;
    m_isStopping = true;
    if (m_services)
        m_services->setClosed();
    while (!m_started.isEmpty()) {
        const Plugin plugin = m_started.takeLast();
        stop(*plugin);
    }
    if (m_services)
        m_services->releaseAll();
    m_isStopping = false;
}

void cPluginRunner::stop(cPluginInstance& plugin)
{
    const QString id = plugin.id().toString();
    if (m_reporter.observe(IPluginObserver::StopPlugin, plugin.name(), [&] { return plugin.stop(); }))
        m_reporter.info(QStringLiteral("stopped %1").arg(id));
    else
        m_reporter.logAndFail(QStringLiteral("%1 did not stop properly: %2").arg(id, plugin.errorString()));
}
