#pragma once

#include "install/cInstallPlan.h"
#include "install/cPackageSource.h"
#include "install/cRepositorySettings.h"

#include <Norvale/cLog.h>

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <memory>

class cConfigurationMgr;
class cInstallMgr;
class cPackage;
class cPluginMgr;

/**
 * One install from a location, from its packages to the features file. An object makes one run.
 *
 * The order of the steps is what makes a run repeatable: nothing that is installed is touched before the features file
 * has been replaced, and what is consumed goes last.
 */
class cInstallation
{
public:
    /// All are used as long as this object lives.
    cInstallation(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins, const cLog& log);

    /// Loads the features file and finishes what a run has left undone that was cut off: removes the folders that it
    /// had unpacked or replaced and that no feature names.
    void recover();

    /// Installs what @p offered lists; it was read from @p path, beside which the packages lie. With @p consume
    /// packages and description are deleted. recover() comes before. False when something was left out or could not be
    /// written; it has been logged.
    [[nodiscard]] bool run(const cFeatureCatalogue& offered, const QString& path, bool consume);

private:
    /// How it went with a plugin's package.
    struct Outcome
    {
        QString fault; ///< empty when the plugin is unpacked
        bool isWorthRetrying = false;
    };

    QSet<QString> present() const;
    bool prepare(const cFeatureCatalogue& offered);
    bool refuse(const QString& reason);

    void unpackAll(bool consume);
    void unpackFeature(int index, bool consume);
    Outcome unpack(const cFeaturePlugin& plugin, bool consume);
    Outcome writePackage(const cFeaturePlugin& plugin, const cPackage& package);
    void reportLeftOut();

    void runCommands();
    bool commit(const cFeatureCatalogue& offered);
    void consumeLocation(const cFeatureCatalogue& offered, const QString& path);
    void consumeFile(const QString& path);

    cInstallMgr& m_manager;
    cConfigurationMgr& m_configuration;
    cPluginMgr& m_plugins;
    cLog m_log;
    cRepositorySettings m_settings;
    std::unique_ptr<cInstallPlan> m_plan;
    std::unique_ptr<cPackageSource> m_source;
    QHash<QString, Outcome> m_outcomes;  // by identity
    QHash<QString, QString> m_occupants; // identities of the plugins that are there, by the caseless form
};
