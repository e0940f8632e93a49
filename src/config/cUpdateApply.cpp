#include "config/cUpdateApply.h"

#include "config/cConnections.h"
#include "config/cRuntimeFetch.h"
#include "config/cTrustedSite.h"
#include "config/cUpdateCheck.h"
#include "log/cFrameworkLog.h"
#include "plugins/cFileRecord.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>

#include <algorithm>

cUpdateApply::cUpdateApply(const cUpdateCheck& check)
    : m_check(check), m_plugins(check.pluginsToFetch()), m_log(cFrameworkLog::configuration())
{
}

cJsonValue cUpdateApply::run(cJsonValue result)
{
    m_downloader.setLeastRate(cDownloader::leastRateInSettings());
    if (m_plugins.size() > m_check.plugins().size())
        result["size"] = cUpdateCheck::sizeOf(m_plugins);
    const bool isReady = m_check.requiresNewCore() ? fetchRuntime() : fetchPackages();
    if (!m_check.requiresNewCore())
        result["fetched"] = cUpdateCheck::bytes(m_fetched);
    if (isReady) {
        result["result_code"] = IConfigMgr::UpdateReady;
    } else if (m_isCancelled) {
        m_log.warning() << "The update was cancelled" << Qt::endl;
        result["result_code"] = IConfigMgr::Cancelled;
    } else {
        result["result_code"] = IConfigMgr::NotFetched;
        result["failed"] = m_failed;
    }
    return result;
}

void cUpdateApply::cancel()
{
    m_isCancelled = true;
    m_downloader.cancel();
    for (const auto& fetch : m_fetches)
        fetch->cancel();
    m_queue.cancel();
}

bool cUpdateApply::fetchPackages()
{
    return isCoreNewEnough() && areNamesSafe() && fetchMissing() && commit();
}

bool cUpdateApply::isCoreNewEnough()
{
    const cVersion current(Corvane::currentVersion());
    const cVersion& required = m_check.available().coreVersion();
    if (!(current < required))
        return true;
    return fail(QStringLiteral("core_version"),
                QStringLiteral("the repository needs version %1 or newer to be installed over, and %2 is")
                    .arg(required.toString(), current.toString()));
}

bool cUpdateApply::areNamesSafe()
{
    QHash<QString, cPluginId> ids; // by the caseless form
    for (const QSharedPointer<cFeatureInstance>& feature : m_check.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            const cPluginId& id = plugin->id();
            if (!isSafePackageName(id.name()))
                return fail(id.toString(), QStringLiteral("the plugin's name cannot be a file name"));
            const cPluginId known = *ids.insert(id.caselessKey(), ids.value(id.caselessKey(), id));
            if (known != id)
                return fail(id.toString(), QStringLiteral("differs from %1 only in case").arg(known.toString()));
        }
    }
    return true;
}

bool cUpdateApply::fetchMissing()
{
    if (!prepare() || !enlist())
        return false;
    begin();
    wait();
    return conclude();
}

/// One that cannot be fetched at all fails here; those behind it are not looked at any more.
bool cUpdateApply::prepare()
{
    cFileRecord installed;
    const auto isPatched = [](const cFeaturePlugin* plugin) { return !plugin->deltas().isEmpty(); };
    if (std::any_of(m_plugins.begin(), m_plugins.end(), isPatched) && !installed.read())
        m_log.warning().noquote() << "Packages are fetched whole:" << installed.errorString() << Qt::endl;
    for (cFeaturePlugin* const plugin : m_plugins) {
        m_fetches.push_back(std::make_unique<cPackageFetch>(
            *plugin, cPackageFetch::Means{m_dropbox, m_check.site(), m_queue, m_threads}));
        cPackageFetch& fetch = *m_fetches.back();
        connect(plugin, &cFeaturePlugin::progress, this, &cUpdateApply::progress);
        connect(&fetch, &cPackageFetch::progress, this,
                [this, &fetch](qint64 bytesThere, qint64 bytesTotal) { tell(fetch, bytesThere, bytesTotal); });
        connect(&fetch, &cPackageFetch::done, this, [this, &fetch] {
            if (fetch.state() == cPackageFetch::Failed)
                endBehind(fetch);
        });
        fetch.prepare(installed, m_downloader);
        if (m_isCancelled || fetch.isOver())
            break;
    }
    return !m_isCancelled;
}

/// Before the first byte is written: what a kill leaves is known then.
bool cUpdateApply::enlist()
{
    QVector<cPluginId> ids;
    QStringList names;
    for (const auto& fetch : m_fetches) {
        if (fetch->isThere() || fetch->isOver())
            continue;
        ids.append(fetch->plugin().id());
        names.append(ids.constLast().packageFileName());
    }
    QString error;
    return ids.isEmpty() || m_dropbox.enlist(names, &error) || fail(ids.constFirst().toString(), error);
}

void cUpdateApply::begin()
{
    for (const auto& fetch : m_fetches) {
        if (!fetch->isOver())
            fetch->start();
    }
}

void cUpdateApply::wait()
{
    const auto isOver = [](const auto& fetch) { return fetch->isOver(); };
    cConnections::waitWhile([&] { return !std::all_of(m_fetches.begin(), m_fetches.end(), isOver); });
}

/// The first one in the order of the plugins that failed is told.
bool cUpdateApply::conclude()
{
    for (const auto& fetch : m_fetches)
        m_fetched += fetch->fetched();
    if (m_isCancelled)
        return false;
    const auto failed = std::find_if(m_fetches.begin(), m_fetches.end(),
                                     [](const auto& fetch) { return fetch->state() == cPackageFetch::Failed; });
    if (failed == m_fetches.end())
        return true;
    m_failed = (*failed)->plugin().id().toString();
    return (*failed)->reason().isEmpty() ? false : fail(m_failed, (*failed)->reason());
}

/// One bar over all of them, whichever of them goes on.
void cUpdateApply::tell(const cPackageFetch& fetch, qint64 bytesThere, qint64 bytesTotal)
{
    qint64 reached = 0;
    qint64 planned = 0;
    for (const auto& each : m_fetches) {
        reached += each->reached();
        planned += each->planned();
    }
    const QString label = m_check.available().name() + QLatin1Char('-') + m_check.available().version().toString();
    emit overallProgress(label, reached - bytesThere, planned);
    fetch.plugin().onProgress(bytesThere, bytesTotal);
}

/// What stands before it may still end well, or fail and be the one that is told.
void cUpdateApply::endBehind(const cPackageFetch& failed)
{
    const auto isIt = [&](const auto& fetch) { return fetch.get() == &failed; };
    for (auto it = std::find_if(m_fetches.begin(), m_fetches.end(), isIt); it != m_fetches.end(); ++it) {
        if (it->get() != &failed)
            (*it)->cancel();
    }
}

bool cUpdateApply::commit()
{
    cFeatureCatalogue update = m_check.available();
    update.clear();
    for (const QSharedPointer<cFeatureInstance>& feature : m_check.features())
        update.append(feature);
    QString error;
    if (!m_dropbox.commit(update, &error))
        return fail(QStringLiteral("repository.xml"), error);
    Corvane::setRestartOption(Corvane::RestartAfterUpdate);
    // The option is stored as 0 always: what tells a host the kind of restart is the name, or that there is none.
    Corvane::setRestartSetupFilename(QString());
    const QString left = m_dropbox.tidy(update);
    if (!left.isEmpty())
        m_log.warning().noquote() << "Packages of an earlier update cannot be removed:" << left << Qt::endl;
    return true;
}

bool cUpdateApply::fetchRuntime()
{
    const cRuntimeInfo& runtime = m_check.runtime();
    connect(&runtime, &cRuntimeInfo::progress, this, &cUpdateApply::progress);
    cRuntimeFetch fetch(runtime, {m_queue, m_downloader, m_check.site()});
    const bool isFetched = fetch.run();
    if (m_isCancelled)
        return false;
    if (!isFetched)
        return fail(runtime.name(), fetch.errorString());
    Corvane::setRestartSetupFilename(fetch.path()); // logs why it cannot
    if (Corvane::restartSetupFilename() != fetch.path())
        return fail(runtime.name(), QStringLiteral("the settings do not keep where %1 lies").arg(fetch.path()));
    Corvane::setRestartOption(Corvane::RestartWithSetup);
    return true;
}

bool cUpdateApply::fail(const QString& what, const QString& reason)
{
    m_failed = what;
    m_log.error().noquote() << "The update cannot be made ready:" << what + QLatin1Char(':') << reason << Qt::endl;
    return false;
}
