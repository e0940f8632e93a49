#include "plugins/cPluginRunner.h"

#include "core/cMessageHandlers.h"
#include "guard/cGuard.h"
#include "guard/cPluginImages.h"
#include "plugins/cPluginDependency.h"
#include "plugins/cPluginReporter.h"
#include "services/cServiceMgr.h"
#include "version/ForeignCode.h"
#include "version/cCodeImage.h"

#include <QtCore/QSet>

namespace {

QString notRegistered(const cPluginInstance& plugin, const QString& service)
{
    return QStringLiteral("%1 has started and not registered its service %2: is Q_OBJECT there, "
                          "Q_CLASSINFO(\"service\", ...) as declared?")
        .arg(plugin.id().toString(), service);
}

} // namespace

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

    /// The plugin that is to be loaded.
    const Plugin& wanted() const { return m_steps.first().plugin; }

    /// Calls @p visit for each plugin on the path but the last.
    template <typename Visit>
    void forEachBefore(const Visit& visit) const
    {
        for (int i = 0; i + 1 < m_steps.size(); ++i)
            visit(m_steps.at(i).plugin);
    }

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
        return pathText(m_steps.size(), [this](int i) { return m_steps.at(i).plugin->name(); });
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
    if (m_phase == Phase::Stopped)
        return refuse(name, QStringLiteral("the suite has been stopped"));
    m_suite.refresh();
    const Plugin plugin = m_suite.find(name);
    if (!plugin)
        return refuse(name, QStringLiteral("no such plugin is installed"));
    if (plugin->isLibraryLoaded())
        return true;
    const QString reason = m_suite.whyLeftOut(plugin);
    if (!reason.isEmpty())
        return refuse(name, reason);
    if (m_failed.contains(plugin.data()))
        return false; // why has been logged
    bool isLoaded = false;
    work([&] { isLoaded = loadWithDependencies(plugin); });
    if (!isLoaded && m_isStartGoingOn)
        m_failed.insert(plugin.data());
    return isLoaded;
}

void cPluginRunner::start(const std::function<void()>& steps)
{
    work([&] {
        m_isStartGoingOn = true;
        steps();
        m_isStartGoingOn = false;
        m_failed.clear();
    });
}

/// Takes a step that may load plugins, and makes the stop that has been asked for meanwhile.
void cPluginRunner::work(const std::function<void()>& step)
{
    ++m_depth;
    step();
    --m_depth;
    if (m_depth == 0 && m_phase == Phase::StopWanted)
        stopNow();
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
            return failWith(path);
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
        return !m_failed.contains(plugin.data()) || failWith(path);
    }
    const QString reason = plugin ? QStringLiteral("plugin \"%1\" depends on itself (%2 -> %1)")
                                  : QStringLiteral("plugin \"%1\", a dependency, is not installed (%2 -> %1)");
    return fail(*path.wanted(), reason.arg(dependency, path.text()));
}

/// What the path has come to cannot be loaded; all before it waits for it, and has its place in the reason.
bool cPluginRunner::failWith(const cLoadPath& path)
{
    const QString failed = path.plugin()->name();
    m_reporter.logAndFail(QStringLiteral("plugin \"%1\" is not loaded: a dependency failed (%2)")
                              .arg(path.wanted()->name(), path.text()));
    const QString reason = QStringLiteral("waits for \"%1\", which has failed").arg(failed);
    QVector<Plugin> waiting;
    path.forEachBefore([&](const Plugin& plugin) {
        plugin->setFailure(reason);
        waiting.append(plugin);
    });
    for (const Plugin& plugin : qAsConst(waiting))
        m_reporter.tellState(*plugin);
    return false;
}

bool cPluginRunner::fail(cPluginInstance& plugin, const QString& reason)
{
    m_reporter.logAndFail(reason);
    return noteFailure(plugin, reason);
}

/// Who is told of the failure may ask for the plugin again; that does not come to an end unless it is refused.
bool cPluginRunner::noteFailure(cPluginInstance& plugin, const QString& reason)
{
    plugin.setFailure(reason);
    m_failed.insert(&plugin);
    m_reporter.tellState(plugin);
    if (!m_isStartGoingOn)
        m_failed.erase(&plugin);
    return false;
}

bool cPluginRunner::refuse(const QString& name, const QString& reason)
{
    return m_reporter.logAndFail(QStringLiteral("plugin \"%1\" is not loaded: %2").arg(name, reason));
}

bool cPluginRunner::loadAndStart(const Plugin& plugin)
{
    if (isStopping())
        return refuse(plugin->name(), QStringLiteral("the suite is being stopped"));
    cStartJournal journal;
    if (!loadLibrary(*plugin, journal) || !start(*plugin, journal))
        return false;
    m_started.append(plugin);
    m_reporter.info(QStringLiteral("started %1").arg(plugin->id().toString()));
    tellMissingServices(*plugin);
    m_reporter.tellState(*plugin);
    return true;
}

bool cPluginRunner::loadLibrary(cPluginInstance& plugin, cStartJournal& journal)
{
    const QString id = plugin.id().toString();
    const QString refused = QStringLiteral("%1 is not loaded: %2");
    if (plugin.stage() == cPluginInstance::Stage::Loading)
        return m_reporter.logAndFail(QStringLiteral("%1 asks for itself while its library is being loaded").arg(id));
    const QString change = m_suite.libraryChange(plugin);
    if (!change.isEmpty())
        return fail(plugin, refused.arg(id, change));
    if (plugin.isIsolated() && !takeProcess(plugin))
        return false;
    m_reporter.announce("loading", id);
    const auto load = [&] {
        const cStartJournal::Opened opened(journal);
        const cGuard::cStep step(m_guard, cGuardSlot::Load, id);
        return plugin.loadLibrary();
    };
    const bool isLoaded = m_reporter.observe(IPluginObserver::LoadLibrary, plugin.name(), load);
    if (plugin.code())
        cPluginImages::instance().add(id, cCodeImage::around(plugin.code()));
    if (!isLoaded)
        return fail(plugin, refused.arg(id, plugin.errorString()));
    m_reporter.tellState(plugin);
    return true;
}

bool cPluginRunner::takeProcess(cPluginInstance& plugin)
{
    if (!m_processes)
        return fail(plugin, QStringLiteral("%1 is not loaded: this host runs no plugins in processes of their own")
                                .arg(plugin.id().toString()));
    plugin.setProcess(m_processes->make(plugin.id(), plugin.folder()));
    return true;
}

bool cPluginRunner::start(cPluginInstance& plugin, cStartJournal& journal)
{
    const QString id = plugin.id().toString();
    m_reporter.announce("starting", id);
    const auto start = [&] {
        const cStartJournal::Opened opened(journal);
        const cGuard::cStep step(m_guard, cGuardSlot::Start, id);
        return plugin.start();
    };
    if (m_reporter.observe(IPluginObserver::StartPlugin, plugin.name(), start))
        return true;
    const QString reason = QStringLiteral("%1 is not started: %2").arg(id, plugin.errorString());
    m_reporter.logAndFail(reason);
    {
        const cGuard::cStep step(m_guard, cGuardSlot::Start, id); // the end of what it has made is its own code, too
        takeBack(plugin, journal);
        cPluginImages::instance().remove(id);
        plugin.unloadLibrary();
    }
    return noteFailure(plugin, reason);
}

QStringList cPluginRunner::missingServices(const cPluginInstance& plugin) const
{
    QStringList missing;
    for (const QString& service : plugin.services()) {
        if (m_services && !m_services->serviceExists(service))
            missing.append(service);
    }
    return missing;
}

QString cPluginRunner::whatIsMissing(const cPluginInstance& plugin) const
{
    QStringList texts;
    for (const QString& service : missingServices(plugin))
        texts.append(notRegistered(plugin, service));
    return texts.join(QStringLiteral("; "));
}

// Nothing else tells that the class is not what the manifest says of it: to register such an object does nothing.
void cPluginRunner::tellMissingServices(const cPluginInstance& plugin)
{
    for (const QString& service : missingServices(plugin)) {
        const QString text = notRegistered(plugin, service);
        m_reporter.warn(text);
        m_services->setWhyAbsent(service, text);
    }
}

// What a failed start has left behind would be called in a library that is gone. What runs the code of another plugin
// is that plugin's, whoever's start it was registered in; what runs the code of this one goes, whoever registered it.
void cPluginRunner::takeBack(const cPluginInstance& plugin, cStartJournal& journal)
{
    const cCodeImage own = cCodeImage::around(plugin.code());
    QStringList withdrawn = journal.undo(
        [&](const void* code) { return !own.contains(code) && m_suite.isLibraryOfPlugin(cCodeImage::around(code)); });
    if (m_services)
        withdrawn += m_services->withdraw(own);
    for (int left = cMessageHandlers::instance().removeOf(own); left > 0; --left)
        withdrawn.append(QStringLiteral("a message handler"));
    for (const QString& what : qAsConst(withdrawn))
        m_reporter.warn(QStringLiteral("withdrew %1 of %2, which did not start").arg(what, plugin.id().toString()));
}

void cPluginRunner::stopAll()
{
    if (isStopping())
        return;
    m_phase = Phase::StopWanted;
    if (m_depth == 0)
        stopNow();
    else
        m_reporter.info(QStringLiteral("the suite stops when what is being loaded has been"));
}

void cPluginRunner::stopNow()
{
    m_phase = Phase::Stopping;
    if (m_services)
        m_services->setClosed();
    while (!m_started.isEmpty()) {
        const Plugin plugin = m_started.takeLast();
        stop(*plugin);
    }
    if (m_services)
        m_services->releaseAll();
    m_guard.end();
    m_phase = Phase::Stopped;
}

void cPluginRunner::stop(cPluginInstance& plugin)
{
    const QString id = plugin.id().toString();
    m_reporter.announce("stopping", id);
    const auto stop = [&] {
        const cGuard::cStep step(m_guard, cGuardSlot::Stop, id);
        return plugin.stop();
    };
    if (m_reporter.observe(IPluginObserver::StopPlugin, plugin.name(), stop))
        m_reporter.info(QStringLiteral("stopped %1").arg(id));
    else
        m_reporter.logAndFail(QStringLiteral("%1 did not stop properly: %2").arg(id, plugin.errorString()));
    m_reporter.tellState(plugin);
}
