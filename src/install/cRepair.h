#pragma once

#include "install/cPackageTrust.h"
#include "install/cVerification.h"

#include <QtCore/QHash>

#include <optional>

class cConfigurationMgr;
class cDownloader;
class cFeaturePlugin;
class cPackage;
class cPluginMgr;

/**
 * Gets the packages of plugins that are installed, each of exactly its version: out of the Bootstrap folder, or from
 * the newest repository on the update locations, which must give a hash for it.
 */
class cRepairSource
{
public:
    /// Packages that are fetched go into the folder @p scratch.
    cRepairSource(cConfigurationMgr& configuration, const cLog& log, const QString& scratch);

    /// Reads a package that has been verified whole into @p package. False when it cannot be had; @p reason tells why.
    [[nodiscard]] bool get(const cPluginId& id, cPackage& package, QString* reason);

private:
    bool getLocal(const cPluginId& id, cPackage& package, QString* reason);
    bool getRemote(const cPluginId& id, cPackage& package, QString* reason);
    bool fetch(const cFeaturePlugin& plugin, cPackage& package, QString* reason);
    QString read(const cFeaturePlugin& plugin, const QString& file, cPackage& package);
    static qint64 limitOf(const cFeaturePlugin& plugin, const QUrl& url, cDownloader& downloader);
    const cFeatureCatalogue& offered();

    cConfigurationMgr& m_configuration;
    QString m_scratch;
    cPackageTrust m_trust;
    std::optional<cFeatureCatalogue> m_offered; // of the update locations; searched for when first needed
};

/**
 * One repair. An object makes one run.
 *
 * Packages are unpacked in a folder of their own beside the plugins, and their files moved from there one by one, each
 * over the old one; so at any moment a file is the old or the new one. The folder's name is fixed, so that the next run
 * finds what one that was killed has left.
 */
class cRepair
{
public:
    /// All are used as long as this object lives.
    cRepair(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins, const cLog& log);

    cRepairOutcome run();

private:
    bool restoreCatalogue(cInstalledState& state);
    void restoreSettings(const cInstalledState& state);
    void repairPlugins(const cVerification& verification);
    bool repairPlugin(const cPluginId& id, cRepairSource& source, QString* reason);
    bool putInPlace(const cPluginId& id, const QString& from, const cFileRecord::Files& files, QString* reason);
    void writeRecord(const cVerification& verification);
    bool fail(const QString& reason);
    void noteUnrepaired(const QString& name, const QString& reason);

    cInstallMgr& m_manager;
    cConfigurationMgr& m_configuration;
    cPluginMgr& m_plugins;
    cLog m_log;
    cRepairOutcome m_outcome;
    QHash<cPluginId, cFileRecord::Files> m_files; // of the plugins that have been repaired
};
