#include "plugins/cPluginMgr.h"

#include "services/cServiceMgr.h"

#include <Norvale/Corvane.h>

namespace {

cPluginInfo::State stateOf(const cPluginInstance& plugin)
{
    switch (plugin.stage()) {
    case cPluginInstance::Stage::Loaded:
        return cPluginInfo::Loaded;
    case cPluginInstance::Stage::Started:
        return cPluginInfo::Started;
    case cPluginInstance::Stage::Stopped:
        return cPluginInfo::Stopped;
    default: // not loaded yet
        return plugin.state() != 0 ? cPluginInfo::Ordered : cPluginInfo::Registered;
    }
}

cPluginInfo infoOf(const cPluginInstance& plugin)
{
    cPluginInfo info;
    info.name = plugin.name();
    info.version = plugin.version();
    info.category = plugin.loadCategory();
    info.autoload = plugin.isAutoload();
    info.order = plugin.state();
    info.state = stateOf(plugin);
    info.dependencies = plugin.dependencies();
    info.services = plugin.services();
    info.folder = plugin.folder();
    return info;
}

} // namespace

void cPluginMgr::setServiceMgr(cServiceMgr* services)
{
    m_services = services;
    m_runner.setServiceMgr(services);
}

bool cPluginMgr::StartNormal()
{
    m_outcome = cStartOutcome();
    const cStartOutcome::Result result = prepare();
    if (result == cStartOutcome::Started) {
        connectSignals();
        loadByCategories();
    }
    m_outcome = {result, result == cStartOutcome::Started ? QStringList() : m_suite.reasons()};
    if (result == cStartOutcome::NotOrdered)
        qFatal("Cannot start under this circumstances.");
    return result == cStartOutcome::Started;
}

/// The steps before anything is loaded. @return Started when nothing speaks against it.
cStartOutcome::Result cPluginMgr::prepare()
{
    // A catalogue that cannot be read says nothing of Core: a new installation is not what is needed then.
    if (!m_suite.publish() || !m_suite.isWhole())
        return cStartOutcome::NotPublished;
    if (!m_suite.isCoreInstalled()) {
        Corvane::setRestartOption(Corvane::RestartMissingCore);
        return cStartOutcome::NoCore;
    }
    // Published twice on purpose: no record may depend on standing in the load list only once.
    if (!m_suite.publish())
        return cStartOutcome::NotPublished;
    if (!m_suite.readManifests())
        return cStartOutcome::ManifestsFaulty;
    return m_suite.order() ? cStartOutcome::Started : cStartOutcome::NotOrdered;
}

bool cPluginMgr::discover()
{
    if (!m_suite.publish())
        return false;
    const bool isRead = m_suite.readManifests();
    return m_suite.order() && isRead;
}

QList<cPluginInfo> cPluginMgr::plugins() const
{
    m_suite.refresh();
    QList<cPluginInfo> infos;
    for (const Plugin& plugin : m_suite.registered())
        infos.append(infoOf(*plugin));
    return infos;
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
    const QVector<Plugin> plugins = m_suite.loadList();
    const QStringList categories = m_loadCategories; // a plugin may set others
    for (const QString& category : categories)
        loadCategory(plugins, category);
    for (const Plugin& plugin : plugins) {
        if (plugin->isAutoload() && !plugin->isLibraryLoaded())
            requestLoad(plugin->name());
    }
}

void cPluginMgr::loadCategory(const QVector<Plugin>& plugins, const QString& category)
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

QString cPluginMgr::pluginOfService(QString service) const
{
    m_suite.refresh();
    const QString* const owner = m_suite.ownerOf(service);
    return owner ? *owner : QString();
}

bool cPluginMgr::loadPluginByService(QString service)
{
    const QString owner = pluginOfService(service);
    if (!owner.isEmpty())
        return loadPlugin(owner);
    return m_reporter.logAndFail(
        QStringLiteral("no plugin is loaded for the service \"%1\": none declares it").arg(service));
}
