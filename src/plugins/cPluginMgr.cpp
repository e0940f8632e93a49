#include "plugins/cPluginMgr.h"

#include "plugins/IInstalledPlugins.h"
#include "plugins/cDependencyOrder.h"
#include "plugins/cLoadPath.h"
#include "plugins/cObserverSpan.h"
#include "plugins/cTranslationLocale.h"
#include "services/cServiceMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QHash>

cPluginMgr::cPluginMgr() : m_log(cLogCentral::log(QStringLiteral("PluginMgr"))) {}

cPluginMgr::~cPluginMgr() = default;

bool cPluginMgr::StartNormal()
{
    if (!publish() || !isCoreInstalled())
        return false;
    // Published twice on purpose: no record may depend on standing in the load list only once.
    if (!publish() || !readManifests())
        return false;
    if (!orderPlugins())
        qFatal("Cannot start under this circumstances.");
    connectSignals();
    loadByCategories();
    return true;
}

void cPluginMgr::StopNormal()
{
    if (m_isStopping)
        return;
    m_isStopping = true;
    if (m_services)
        m_services->setClosed();
    while (!m_startedList.isEmpty()) {
        const Plugin plugin = m_startedList.takeLast();
        stop(*plugin);
    }
    if (m_services)
        m_services->releaseAll();
    m_isStopping = false;
}

bool cPluginMgr::discover()
{
    if (!publish())
        return false;
    const bool isRead = readManifests();
    return orderPlugins() && isRead;
}

QList<cPluginInfo> cPluginMgr::plugins() const
{
    using RunState = cPluginInstance::RunState;
    QList<cPluginInfo> infos;
    for (const Plugin& plugin : m_registry.registered()) {
        cPluginInfo info;
        info.name = plugin->name();
        info.version = plugin->version();
        info.category = plugin->loadCategory();
        info.autoload = plugin->isAutoload();
        info.order = plugin->state();
        info.dependencies = plugin->dependencies();
        info.services = plugin->services();
        info.folder = plugin->folder();
        if (plugin->runState() == RunState::Stopped)
            info.state = cPluginInfo::Stopped;
        else if (plugin->runState() == RunState::Started)
            info.state = cPluginInfo::Started;
        else if (plugin->isLibraryLoaded())
            info.state = cPluginInfo::Loaded;
        else if (plugin->state() != 0)
            info.state = cPluginInfo::Ordered;
        infos.append(info);
    }
    return infos;
}

bool cPluginMgr::publish()
{
    if (!m_installed)
        return refuse(QStringLiteral("nobody is there to tell which plugins are installed"));
    return m_installed->publishInstalledPlugins();
}

bool cPluginMgr::isCoreInstalled()
{
    if (m_installed->isFeatureInstalled(QStringLiteral("Core")))
        return true;
    Corvane::setRestartOption(Corvane::RestartMissingCore);
    return refuse(QStringLiteral("the feature \"Core\" is not installed"));
}

// All faults are found in one go, so that who repairs an installation need not repair and start again for each.
bool cPluginMgr::readManifests()
{
    using ManifestState = cPluginInstance::ManifestState;
    bool isEveryOneRight = true;
    for (const Plugin& plugin : m_registry.registered()) {
        if (plugin->manifestState() == ManifestState::Unread) {
            const bool isRight = readManifest(*plugin);
            plugin->setManifestState(isRight ? ManifestState::Accepted : ManifestState::Faulty);
        } else if (plugin->manifestState() == ManifestState::Faulty) {
            refuse(QStringLiteral("%1 has been found faulty before").arg(plugin->identity()));
        }
        isEveryOneRight = isEveryOneRight && plugin->manifestState() == ManifestState::Accepted;
    }
    return isEveryOneRight;
}

bool cPluginMgr::readManifest(cPluginInstance& plugin)
{
    cObserverSpan span(m_observer, IPluginObserver::ReadManifest, plugin.name());
    if (!plugin.readManifest())
        return refuse(QStringLiteral("the manifest of %1 is faulty: %2").arg(plugin.identity(), plugin.errorString()));
    return span.finish(isApiVersionRight(plugin) && enterServices(plugin));
}

bool cPluginMgr::isApiVersionRight(const cPluginInstance& plugin)
{
    if (plugin.runtimeApiVersion() == IPlugin::RuntimeApiVersion)
        return true;
    return refuse(QStringLiteral("%1 is made for the runtime API version %2; this is version %3")
                      .arg(plugin.identity())
                      .arg(plugin.runtimeApiVersion())
                      .arg(IPlugin::RuntimeApiVersion));
}

bool cPluginMgr::enterServices(const cPluginInstance& plugin)
{
    for (const QString& service : plugin.services()) {
        if (m_serviceMap.contains(service))
            return refuse(QStringLiteral("the service %1 is declared twice: by %2 and by %3")
                              .arg(service, m_serviceMap.value(service), plugin.name()));
        m_serviceMap.insert(service, plugin.name());
    }
    return true;
}

bool cPluginMgr::orderPlugins()
{
    cDependencyOrder order;
    QVector<Plugin> records;
    QHash<const cPluginInstance*, int> numbers;
    const QList<Plugin> loadList = m_registry.loadList();
    order.reserve(loadList.size(), loadList.size());
    for (const Plugin& plugin : loadList) {
        const auto known = numbers.constFind(plugin.data());
        if (known != numbers.constEnd()) {
            order.addPlace(*known);
            continue;
        }
        plugin->setState(0);
        numbers.insert(plugin.data(), order.addRecord(plugin->name(), plugin->dependencies()));
        records.append(plugin);
    }
    const QVector<int> placed = order.order();
    for (int i = 0; i < placed.size(); ++i)
        records.at(placed.at(i))->setState(i + 1);
    for (const QString& reason : order.reasons())
        m_log.error().noquote() << "the plugins cannot be ordered:" << reason << Qt::endl;
    return placed.size() == records.size();
}

void cPluginMgr::connectSignals()
{
    connect(this, SIGNAL(DoLoad(QString, bool*)), this, SLOT(OnLoad(QString, bool*)), Qt::UniqueConnection);
    connect(this, SIGNAL(DoLoadByService(QString, bool*)), this, SLOT(OnLoadByService(QString, bool*)),
            Qt::UniqueConnection);
    connect(this, SIGNAL(DoRestart()), this, SLOT(OnRestart()), Qt::UniqueConnection);
}

void cPluginMgr::loadByCategories()
{
    const cTranslationLocale openSettings;
    // The settings are always there before anything else.
    requestLoad(QStringLiteral("ZentraSettings"));
    const QList<Plugin> plugins = m_registry.loadList();
    for (const QString& category : qAsConst(m_loadCategories))
        loadCategory(plugins, category);
    for (const Plugin& plugin : plugins) {
        if (plugin->isAutoload() && !plugin->isLibraryLoaded())
            requestLoad(plugin->name());
    }
}

void cPluginMgr::loadCategory(const QList<Plugin>& plugins, const QString& category)
{
    for (const Plugin& plugin : plugins) {
        if (plugin->loadCategory() == category && !plugin->isLibraryLoaded())
            requestLoad(plugin->name());
    }
    if (IServiceMgr* services = m_services)
        services->notify(QStringLiteral("PluginMgrEvents"), QStringLiteral("LoadPluginCategoryCompleted"),
                         Q_ARG(QString, category));
}

void cPluginMgr::requestLoad(const QString& name)
{
    bool isLoaded = false; // why it is not has been logged by then
    emit DoLoad(name, &isLoaded);
}

bool cPluginMgr::loadPlugin(QString name)
{
    const Plugin plugin = m_registry.findByName(name);
    if (!plugin)
        return refuse(QStringLiteral("%1 is not loaded: no such plugin is installed").arg(name));
    return plugin->isLibraryLoaded() || loadWithDependencies(plugin);
}

QString cPluginMgr::pluginOfService(QString service) const
{
    return m_serviceMap.value(service);
}

bool cPluginMgr::loadPluginByService(QString service)
{
    const auto plugin = m_serviceMap.constFind(service);
    if (plugin == m_serviceMap.constEnd())
        return refuse(QStringLiteral("no plugin is loaded for the service %1: none declares it").arg(service));
    return loadPlugin(*plugin);
}

// Dependencies first, in manifest order. One counts as there when its library is loaded; so a dependency whose library
// stayed loaded without making a plugin object does not keep those that depend on it from loading.
bool cPluginMgr::loadWithDependencies(const Plugin& wanted)
{
    cLoadPath path;
    path.descend(wanted);
    while (true) {
        const QString dependency = path.takeDependency();
        if (!dependency.isNull()) {
            if (!descendTo(dependency, path))
                return false;
            continue;
        }
        const Plugin plugin = path.plugin();
        // One of its dependencies may have loaded it from its own start.
        const bool isDone = plugin->isLibraryLoaded() || loadAndStart(plugin);
        if (plugin == wanted)
            return isDone;
        if (!plugin->isLibraryLoaded())
            return refuse(
                QStringLiteral("%1 is not loaded: a dependency failed (%2)").arg(wanted->name(), path.text()));
        path.ascend();
    }
}

bool cPluginMgr::descendTo(const QString& dependency, cLoadPath& path)
{
    const Plugin plugin = m_registry.findByName(dependency);
    if (plugin && plugin->isLibraryLoaded())
        return true;
    const QString way = path.text() + QLatin1String(" -> ") + dependency;
    if (!plugin)
        return refuse(QStringLiteral("%1, a dependency, is not installed (%2)").arg(dependency, way));
    if (path.contains(plugin))
        return refuse(QStringLiteral("%1 depends on itself (%2)").arg(dependency, way));
    path.descend(plugin);
    return true;
}

bool cPluginMgr::loadAndStart(const Plugin& plugin)
{
    if (plugin->runState() == cPluginInstance::RunState::Loading)
        return refuse(QStringLiteral("%1 asks for itself while its library is being loaded").arg(plugin->identity()));
    if (!loadLibrary(*plugin))
        return refuse(QStringLiteral("%1 is not loaded: %2").arg(plugin->identity(), plugin->errorString()));
    const QStringList ownServices = unregisteredServices(*plugin);
    if (!start(*plugin)) {
        refuse(QStringLiteral("%1 is not started: %2").arg(plugin->identity(), plugin->errorString()));
        withdraw(ownServices);
        plugin->unloadLibrary();
        return false;
    }
    plugin->setRunState(cPluginInstance::RunState::Started);
    m_startedList.append(plugin);
    m_log.info().noquote() << "started" << plugin->identity() << Qt::endl;
    return true;
}

bool cPluginMgr::loadLibrary(cPluginInstance& plugin)
{
    cObserverSpan span(m_observer, IPluginObserver::LoadLibrary, plugin.name());
    plugin.setRunState(cPluginInstance::RunState::Loading);
    const bool isLoaded = plugin.loadLibrary();
    plugin.setRunState(cPluginInstance::RunState::Idle);
    return span.finish(isLoaded);
}

bool cPluginMgr::start(cPluginInstance& plugin)
{
    cObserverSpan span(m_observer, IPluginObserver::StartPlugin, plugin.name());
    return span.finish(plugin.start());
}

QStringList cPluginMgr::unregisteredServices(const cPluginInstance& plugin) const
{
    QStringList services;
    for (const QString& service : plugin.services()) {
        if (m_services && !m_services->serviceExists(service))
            services.append(service);
    }
    return services;
}

// A service that a plugin has left behind in its failed start would be called in a library that is gone.
void cPluginMgr::withdraw(const QStringList& services)
{
    for (const QString& service : services) {
        QObject* object = m_services->serviceFromServiceName(service);
        if (!object)
            continue;
        m_services->unregisterService(object);
        m_log.warning().noquote() << "withdrew the service" << service << "of a plugin that did not start" << Qt::endl;
    }
}

void cPluginMgr::stop(cPluginInstance& plugin)
{
    cObserverSpan span(m_observer, IPluginObserver::StopPlugin, plugin.name());
    plugin.setRunState(cPluginInstance::RunState::Stopped);
    if (!span.finish(plugin.stop()))
        refuse(QStringLiteral("%1 did not stop properly: %2").arg(plugin.identity(), plugin.errorString()));
    else
        m_log.info().noquote() << "stopped" << plugin.identity() << Qt::endl;
}

bool cPluginMgr::refuse(const QString& reason)
{
    m_log.error().noquote() << reason << Qt::endl;
    return false;
}
