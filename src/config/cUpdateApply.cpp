#include "config/cUpdateApply.h"

#include "config/cRuntimeFetch.h"
#include "config/cTrustedSite.h"
#include "config/cUpdateCheck.h"
#include "log/cFrameworkLog.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>

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
    qint64 total = 0;
    for (cFeaturePlugin* const plugin : m_plugins)
        total += plugin->size();
    const QString label = m_check.available().name() + QLatin1Char('-') + m_check.available().version().toString();
    qint64 base = 0;
    for (cFeaturePlugin* const plugin : m_plugins) {
        connect(plugin, &cFeaturePlugin::progress, this, &cUpdateApply::progress);
        emit overallProgress(label, base, total);
        if (isThere(*plugin))
            plugin->onProgress(plugin->size(), plugin->size());
        else if (!fetchPackage(*plugin) || !store(*plugin))
            return false;
        if (m_isCancelled)
            return false;
        plugin->setPending(true);
        base += plugin->size();
    }
    return true;
}

bool cUpdateApply::fetchPackage(cFeaturePlugin& plugin)
{
    if (!plugin.hashFault().isEmpty())
        return fail(plugin.id().toString(), plugin.hashFault());
    if (plugin.hash().isEmpty())
        return fail(plugin.id().toString(), QStringLiteral("the repository gives no hash for it"));
    if (plugin.sources().isEmpty())
        return fail(plugin.id().toString(), QStringLiteral("the repository gives no source for it"));
    for (const cFeatureSource& source : plugin.sources()) {
        if (fetchFrom(source.url(), plugin))
            return true;
        if (m_isCancelled)
            return false;
    }
    m_failed = plugin.id().toString(); // each source has had its line
    return false;
}

/// What was laid there before a root was pinned counts no more than what others lay there.
bool cUpdateApply::isThere(const cFeaturePlugin& plugin) const
{
    const cTrustedSite* const site = m_check.site();
    return m_dropbox.holds(plugin) &&
           (!site || site->refusal(m_dropbox.packageOf(plugin), plugin.id().packageFileName()).isEmpty());
}

/// The most bytes that are accepted of a package; -1 when none are.
qint64 cUpdateApply::limitOf(const QUrl& url, const cFeaturePlugin& plugin)
{
    cTrustedSite* const site = m_check.site();
    return site ? site->limitOf(url, plugin.id().packageFileName(), m_downloader)
                : qMax<qint64>(plugin.size(), PackageLimit);
}

/// Why @p package is not what it should be; empty when it is.
QString cUpdateApply::refusal(const QByteArray& package, const cFeaturePlugin& plugin) const
{
    if (m_downloader.digestResult() != plugin.hash())
        return QStringLiteral("it does not match its hash");
    return m_check.site() ? m_check.site()->refusal(package, plugin.id().packageFileName()) : QString();
}

bool cUpdateApply::fetchFrom(const QUrl& url, cFeaturePlugin& plugin)
{
    QString reason = cInstallationTrust::notNamed();
    const qint64 limit = limitOf(url, plugin);
    if (limit >= 0) {
        m_downloader.setSizeLimit(limit);
        connect(&m_downloader, &cDownloader::progress, &plugin, &cFeaturePlugin::onProgress);
        const bool hasArrived = m_downloader.download(url);
        disconnect(&m_downloader, nullptr, &plugin, nullptr);
        plugin.setDownloadStatus(m_downloader.error());
        reason = hasArrived ? refusal(m_downloader.data(), plugin) : m_downloader.errorString();
    }
    if (m_isCancelled)
        return false;
    if (reason.isEmpty()) {
        plugin.setPackageData(m_downloader.data());
        return true;
    }
    m_log.warning().noquote() << "Not fetched:" << plugin.id().toString() << "from"
                              << url.toDisplayString() + QLatin1Char(':') << reason << Qt::endl;
    return false;
}

bool cUpdateApply::store(cFeaturePlugin& plugin)
{
    QString error;
    const bool isStored = m_dropbox.store(plugin, &error);
    plugin.setPackageData(QByteArray()); // one package at a time is in memory
    return isStored || fail(plugin.id().toString(), error);
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
    connect(&m_downloader, &cDownloader::progress, &runtime, &cRuntimeInfo::onProgress);
    connect(&runtime, &cRuntimeInfo::progress, this, &cUpdateApply::progress);
    cRuntimeFetch fetch(runtime, m_downloader, m_check.site());
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
