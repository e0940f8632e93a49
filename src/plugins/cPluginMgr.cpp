#include "plugins/cPluginMgr.h"

#include "services/cServiceMgr.h"
#include "version/ForeignCode.h"
#include "version/Shown.h"
#include "version/cCodeImage.h"

#include <Norvale/Corvane.h>

namespace {

const QLatin1String SettingsPlugin("ZentraSettings");

} // namespace

cPluginMgr::cPluginMgr()
{
    m_reporter.setStateReceiver(
        [this](const QString& name, cPluginInfo::State state) { emit pluginStateChanged(name, state); });
}

void cPluginMgr::setServiceMgr(cServiceMgr* services)
{
    m_services = services;
    m_runner.setServiceMgr(services);
}

void cPluginMgr::setLoadCategories(const QStringList& categories)
{
    m_loadCategories.clear();
    for (const QString& category : categories)
        m_loadCategories.append(QString(category.constData(), category.size())); // a literal goes with its library
}

void cPluginMgr::setObserver(IPluginObserver* observer)
{
    IPluginObserver* const before = m_reporter.observer();
    m_reporter.setObserver(observer);
    cStartJournal::note(cCodeImage::codeOf(observer), [=] {
        if (!observer || m_reporter.observer() != observer)
            return QString();
        m_reporter.setObserver(before);
        return QStringLiteral("the observer");
    });
}

bool cPluginMgr::StartNormal()
{
    if (m_isStarting)
        return m_reporter.logAndFail(QStringLiteral("a start is under way; another one does not begin"));
    m_outcome = cStartOutcome();
    if (m_runner.isStopping()) {
        const QString reason = QStringLiteral("the suite has been stopped, and is not started again in this process");
        m_reporter.logAndFail(reason);
        return conclude(cStartOutcome::AlreadyStopped, {reason});
    }
    m_guard.begin();
    cStartOutcome::Result result = cStartOutcome::NotStarted;
    m_isStarting = true;
    m_runner.start([&] { result = start(); });
    m_isStarting = false;
    if (result == cStartOutcome::Interrupted)
        return conclude(result, {QStringLiteral("a stop was asked for during the start")});
    return conclude(result, result == cStartOutcome::Started ? QStringList() : m_suite.reasons());
}

cStartOutcome::Result cPluginMgr::start()
{
    const cStartOutcome::Result result = prepare();
    if (result != cStartOutcome::Started)
        return result;
    connectSignals();
    loadByCategories();
    if (!m_runner.isStopping())
        return result;
    m_reporter.warn(QStringLiteral("the start has ended early: a stop was asked for"));
    return cStartOutcome::Interrupted;
}

bool cPluginMgr::conclude(cStartOutcome::Result result, const QStringList& reasons)
{
    m_outcome = {result, reasons};
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
        infos.append(infoOf(plugin));
    return infos;
}

cPluginInfo cPluginMgr::infoOf(const Plugin& plugin) const
{
    cPluginInfo info;
    info.name = plugin->name();
    info.version = plugin->version();
    info.category = plugin->loadCategory();
    info.autoload = plugin->isAutoload();
    info.order = plugin->state();
    info.state = plugin->progress();
    info.dependencies = plugin->dependencies();
    info.services = plugin->services();
    info.folder = plugin->folder();
    info.leftOut = m_suite.whyLeftOut(plugin);
    QString failure = plugin->whyDown();
    if (info.leftOut.isEmpty() && info.state < cPluginInfo::Started)
        failure = m_suite.failureOf(*plugin);
    info.hasFailed = !failure.isEmpty();
    info.reason = info.hasFailed ? failure : info.leftOut;
    if (!info.hasFailed && info.state == cPluginInfo::Started)
        info.reason = m_runner.whatIsMissing(*plugin);
    if (info.reason.isEmpty() && info.state < cPluginInfo::Loaded)
        info.reason = whyNotAskedFor(*plugin);
    return info;
}

/// Why a plugin is not loaded that nothing speaks against.
QString cPluginMgr::whyNotAskedFor(const cPluginInstance& plugin) const
{
    if (m_isStarting || m_outcome.result == cStartOutcome::NotStarted)
        return QString();
    if (m_runner.isStopping())
        return QStringLiteral("the suite has been stopped");
    if (m_outcome.result != cStartOutcome::Started)
        return QStringLiteral("the suite has not been started");
    const bool isWanted = plugin.isAutoload() || m_loadCategories.contains(plugin.loadCategory());
    return isWanted ? QStringLiteral("installed since the start") : QStringLiteral("not asked for");
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
    loadSettings();
    // Copies: a plugin may publish others or set other categories.
    const QVector<Plugin> plugins = m_suite.loadList();
    const QStringList categories = m_loadCategories;
    tellUnknownCategories(plugins);
    for (const QString& category : categories)
        loadCategory(plugins, category);
    for (const Plugin& plugin : plugins) {
        if (plugin->isAutoload())
            requestLoad(plugin);
    }
}

// The settings are always there before anything else, where there are any.
void cPluginMgr::loadSettings()
{
    m_isSettingsPluginOptional = true;
    requestLoad(SettingsPlugin);
    m_isSettingsPluginOptional = false;
}

// Nothing is wrong with a category that no plugin carries; but it may be a misspelt one, too.
void cPluginMgr::tellUnknownCategories(const QVector<Plugin>& plugins)
{
    QStringList known;
    for (const Plugin& plugin : plugins) {
        if (!plugin->loadCategory().isEmpty())
            known.append(plugin->loadCategory());
    }
    known.removeDuplicates();
    known.sort();
    for (const QString& category : qAsConst(m_loadCategories)) {
        if (known.contains(category))
            continue;
        const QString meant = nearestName(category, known);
        m_reporter.warn(
            QStringLiteral("no installed plugin has the load category \"%1\"%2; there %3")
                .arg(category, meant.isEmpty() ? QString() : QStringLiteral(" (is \"%1\" meant?)").arg(meant),
                     known.isEmpty() ? QStringLiteral("is none")
                                     : QStringLiteral("are \"%1\"").arg(known.join(QStringLiteral("\", \"")))));
    }
}

void cPluginMgr::loadCategory(const QVector<Plugin>& plugins, const QString& category)
{
    for (const Plugin& plugin : plugins) {
        if (plugin->loadCategory() == category)
            requestLoad(plugin);
    }
    IServiceMgr* const services = m_services;
    if (services && !m_runner.isStopping())
        services->notify(QStringLiteral("PluginMgrEvents"), QStringLiteral("LoadPluginCategoryCompleted"),
                         Q_ARG(QString, category));
}

void cPluginMgr::requestLoad(const Plugin& plugin)
{
    if (!plugin->isLibraryLoaded() && m_suite.isRegistered(plugin) && !m_suite.isLeftOut(plugin))
        requestLoad(plugin->name());
}

void cPluginMgr::requestLoad(const QString& name)
{
    bool isLoaded = false; // why it is not has been logged by then
    if (!m_runner.isStopping())
        m_reporter.callOut(QStringLiteral("A receiver of a request to load"), [&] { emit DoLoad(name, &isLoaded); });
}

bool cPluginMgr::loadPlugin(QString name)
{
    const bool isOptional = m_isSettingsPluginOptional && name == SettingsPlugin;
    m_isSettingsPluginOptional = false;
    const Plugin plugin = m_suite.find(name);
    if (!isOptional || (plugin && !m_suite.isLeftOut(plugin)))
        return m_runner.load(name);
    if (!plugin)
        m_reporter.info(QStringLiteral("plugin \"%1\" is not installed; the suite starts without it").arg(name));
    return false; // that it is left out has been told
}

QString cPluginMgr::pluginOfService(QString service) const
{
    m_suite.refresh();
    return m_suite.ownerOf(service);
}

bool cPluginMgr::loadPluginByService(QString service)
{
    const QString owner = pluginOfService(service);
    if (!owner.isEmpty())
        return loadPlugin(owner);
    return m_reporter.logAndFail(
        QStringLiteral("no plugin is loaded for the service \"%1\": none declares it").arg(service));
}
