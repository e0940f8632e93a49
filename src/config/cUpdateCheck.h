#pragma once

#include "config/cFeatureCatalogue.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <vector>

class cPluginMgr;
class cTrustedSite;
class cUpdateMgr;

/**
 * The update check: finds the newest repository of the update sites, compares it with what is installed and tells what
 * an update would fetch.
 *
 * An object makes one check. Its answer is the JSON object that `IConfigMgr::checkForUpdates` documents; beside it
 * stands what the apply needs. Everything happens on the calling thread, which serves its events while documents are
 * fetched.
 */
class cUpdateCheck
{
public:
    using Features = cFeatureCatalogue::Features;
    using Plugins = QVector<cFeaturePlugin*>; // of features()

    /// @p installed and @p plugins are only read, and must live as long as this object.
    cUpdateCheck(const cFeatureCatalogue& installed, const cPluginMgr& plugins);

    /// The result object of a check that ends before it has begun.
    static cJsonValue notChecked();

    /// Whether @p available takes the place of @p installed, which is null when there is none: it is newer, or it comes
    /// from another repository, in whatever version.
    [[nodiscard]] static bool needsUpdate(const cFeatureInstance* installed, const cFeatureInstance& available);

    /// A number of bytes as a result object gives it.
    static cJsonValue bytes(qint64 number);
    /// The bytes of the packages of @p plugins.
    static cJsonValue sizeOf(const Plugins& plugins);

    /**
     * Makes the check.
     * @param names features to take in beside the installed ones.
     * @return the result object, whatever its code. Why a repository was passed over, or none fits, is logged.
     */
    cJsonValue run(const QStringList& names, cUpdateMgr& updates);

    /// Whether there is something to fetch or to note at the next start.
    bool isUpdateAvailable() const { return m_result.get("result_code", -1).toInt() == IConfigMgr::UpdateFound; }
    bool requiresNewCore() const { return m_result.get("requires_new_core", false).toBool(); }

    /// What is to be updated, in the order of the names with their dependencies.
    const Features& features() const { return m_features; }
    /// The plugins of those features that the plugin manager does not know yet, one of each name.
    const Plugins& plugins() const { return m_plugins; }
    /// What an update fetches: plugins(), and those that are known but whose folders or manifests are gone, since
    /// without them their features cannot be installed.
    Plugins pluginsToFetch() const;
    /// The newest repository; empty when none was found.
    const cFeatureCatalogue& available() const { return m_available; }
    /// The newest runtime of that repository; version 0.0.0 when it offers none.
    const cRuntimeInfo& runtime() const { return m_runtime; }
    /// The site that vouches for them; null when no root of trust is pinned.
    cTrustedSite* site() const { return m_site.data(); }

private:
    bool findNewest(cUpdateMgr& updates);
    bool isRuntimeTooOld() const;
    void requireRuntime();
    void compare(const QStringList& names);
    /// Goes through @p names, the installed features and everything that these depend on in the new repository, each
    /// once. False when the new repository lacks one of them.
    bool collectFeatures(const QStringList& names);
    bool logMissing(QStringView feature);
    /// @return the bytes of the packages of plugins().
    qint64 collectPlugins();
    void tellNotes();

    const cFeatureCatalogue& m_installed;
    const cPluginMgr& m_known;
    cLog m_log;
    cJsonValue m_result;
    cVersion m_currentVersion;
    Features m_features;
    std::vector<int> m_places; // of those features in the new repository
    Plugins m_plugins;
    Plugins m_knownPlugins; // the others of those features
    cFeatureCatalogue m_available;
    cRuntimeInfo m_runtime;
    QSharedPointer<cTrustedSite> m_site;
};
