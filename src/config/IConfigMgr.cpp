#include <Norvale/IConfigMgr.h>

#include "config/cConfigurationMgr.h"
#include "config/cUpdateCheck.h"
#include "config/cUpdateMgr.h"
#include "log/cFrameworkLog.h"
#include "trust/cInstallationTrust.h"

#include <functional>

namespace {

/// The configuration manager, or null with the reason logged behind @p consequence.
cConfigurationMgr* configurationMgrFor(const char* consequence)
{
    cConfigurationMgr* manager = cConfigurationMgr::instance();
    if (!manager) {
        cFrameworkLog::configuration().warning().noquote()
            << QLatin1String(consequence) + QStringLiteral(": the library is not initialized") << Qt::endl;
    }
    return manager;
}

/// What @p change, a function of cInstallationTrust, comes to; a reason is logged, too.
bool changeTrust(const char* consequence, QString* error, const std::function<bool(QString*)>& change)
{
    QString reason = QStringLiteral("the library is not initialized");
    if (configurationMgrFor(consequence) && change(&reason))
        return true;
    if (cConfigurationMgr::instance())
        cFrameworkLog::configuration().error().noquote()
            << QLatin1String(consequence) + QLatin1String(": ") + reason << Qt::endl;
    if (error)
        *error = reason;
    return false;
}

cTrustState::cRole roleOf(cTrustMetadata::Type type, const cTrustMetadata& root, const cTrustMetadata* document)
{
    cTrustState::cRole role;
    role.name = cTrustMetadata::nameOf(type);
    const cTrustRole signers = root.roles().value(role.name);
    role.threshold = signers.threshold;
    role.keyIds = signers.keyIds;
    if (document) {
        role.version = document->version();
        role.expires = document->expires();
    }
    return role;
}

} // namespace

bool IConfigMgr::isFeatureInstalled(const QString& name)
{
    const cConfigurationMgr* manager = cConfigurationMgr::instance();
    return manager && manager->isFeatureInstalled(name);
}

QList<cFeatureInfo> IConfigMgr::installedFeatures()
{
    const cConfigurationMgr* manager = cConfigurationMgr::instance();
    return manager ? manager->installedFeatures() : QList<cFeatureInfo>();
}

cJsonValue IConfigMgr::checkForUpdates()
{
    cConfigurationMgr* manager = configurationMgrFor("Updates are not checked for");
    return manager ? manager->checkForUpdates() : cUpdateCheck::notChecked();
}

cJsonValue IConfigMgr::doUpdateOn(QStringList names)
{
    cConfigurationMgr* manager = configurationMgrFor("Nothing is updated");
    return manager ? manager->doUpdateOn(names) : cUpdateCheck::notChecked();
}

void IConfigMgr::cancelUpdate()
{
    if (cConfigurationMgr* manager = configurationMgrFor("No update is cancelled"))
        manager->cancelUpdate();
}

void IConfigMgr::connectProgressSlot(QObject* receiver, const char* slot)
{
    if (cConfigurationMgr* manager = configurationMgrFor("Progress is not connected"))
        manager->connectProgressSlot(receiver, slot);
}

QList<QUrl> IConfigMgr::updateLocations()
{
    QList<QUrl> urls;
    for (const QSharedPointer<cUpdateLocation>& location : cUpdateLocation::readAll())
        urls.append(location->url());
    return urls;
}

cSitesOutcome IConfigMgr::lastSites()
{
    const cUpdateMgr* const manager = cUpdateMgr::instance();
    return manager ? manager->lastSites() : cSitesOutcome();
}

bool IConfigMgr::pinTrust(const QByteArray& root, QString* error)
{
    return changeTrust("No root is pinned", error,
                       [&](QString* reason) { return cInstallationTrust::pin(root, reason); });
}

bool IConfigMgr::unpinTrust(QString* error)
{
    return changeTrust("The root stays pinned", error, &cInstallationTrust::unpin);
}

cTrustState IConfigMgr::trustState()
{
    cTrustState state;
    cInstallationTrust trust;
    state.isPinned = cConfigurationMgr::instance() && trust.isPinned();
    if (!state.isPinned)
        return state;
    // Who may not write the set sees the root all the same.
    const bool isOpen = trust.open();
    const cTrustedSet* const set = isOpen ? &trust.client().set() : nullptr;
    const auto pinned = cTrustMetadata::read(cTrustMetadata::Root, trust.pinnedRoot(), nullptr);
    const cTrustMetadata* const root = isOpen ? set->root() : pinned ? &*pinned : nullptr;
    state.reason = isOpen ? QString() : trust.errorString();
    if (!root)
        return state;
    state.roles = {roleOf(cTrustMetadata::Root, *root, root),
                   roleOf(cTrustMetadata::Timestamp, *root, set ? set->timestamp() : nullptr),
                   roleOf(cTrustMetadata::Snapshot, *root, set ? set->snapshot() : nullptr),
                   roleOf(cTrustMetadata::Targets, *root, set ? set->targets(QStringLiteral("targets")) : nullptr)};
    return state;
}

bool IConfigMgr::setUpdateLocations(const QList<QUrl>& urls)
{
    QString error;
    if (!cUpdateLocation::writeAll(urls, &error)) {
        cFrameworkLog::configuration().error().noquote() << "The update locations are not kept:" << error << Qt::endl;
        return false;
    }
    if (cUpdateMgr* manager = cUpdateMgr::instance())
        manager->loadLocations();
    return true;
}
