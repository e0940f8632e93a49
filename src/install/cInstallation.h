#pragma once

#include "install/cInstallPlan.h"
#include "install/cRepositorySettings.h"
#include "install/cUnpacking.h"
#include "plugins/cFileRecord.h"

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QString>

#include <memory>

class cConfigurationMgr;
class cInstallMgr;
class cPackageTrust;
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
    /// @return what is wrong with the features file, see cConfigurationMgr::catalogueFault(): then nothing tells a
    /// leftover from a plugin, nothing has been done, and nothing may be. Empty when nothing is.
    [[nodiscard]] QString recover();

    /// Installs what @p offered lists from the packages of @p source, as far as @p trust has them. recover() comes
    /// before. What was left out or could not be written has been logged.
    [[nodiscard]] cInstallOutcome run(const cFeatureCatalogue& offered, const cPackageSource& source,
                                      cPackageTrust& trust);

private:
    QSet<cPluginId> present() const;
    QSet<cPluginId> foreign() const;
    void leaveOutForeign();
    bool prepare(const cFeatureCatalogue& offered, const cPackageSource& source);
    void noteLeftOut();
    void runCommands();
    bool commit(const cFeatureCatalogue& offered, const cPackageSource& source);
    void restoreSettings();
    bool writeRecord(QString* error);
    void noteInstalled(const cFeatureCatalogue& offered);
    void consume(const cFeatureCatalogue& offered, const cPackageSource& source);
    bool fail(const cPackageSource& source, cInstallOutcome::Result result, const QString& reason);
    bool logAndFail(const cPackageSource& source, cInstallOutcome::Result result, const QString& reason);

    cInstallMgr& m_manager;
    cConfigurationMgr& m_configuration;
    cPluginMgr& m_plugins;
    cLog m_log;
    cRepositorySettings m_settings;
    std::unique_ptr<cInstallPlan> m_plan;
    QHash<cPluginId, cFileRecord::Files> m_unpacked;
    QSet<cPluginId> m_foreign; // plugins of the plan whose folders others have made
    cInstallOutcome m_outcome;
};
