#pragma once

#include "plugins/cFileRecord.h"

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QString>

class cConfigurationMgr;
class cFeatureCatalogue;
class cInstallMgr;
class cPackage;
class cPackageTrust;
class cPluginId;

/// Whether the installed plugin @p id came from a package with the contents of @p package: by the record of files, or
/// by its files where it has no record. How somebody has changed its files since does not count.
bool isInstalledFrom(const cPluginId& id, const cPackage& package);

/**
 * Replaces a plugin of the development feature by a package of the same version, for who builds it again and again. An
 * object makes one run.
 *
 * The package is unpacked beside the plugins. Then the old folder is moved away and the new one into its place, and the
 * record of files is written: from then on the new one counts. A run that ends before is undone by
 * cFolderSweep::restoreReplaced(), which follows each run and comes first in the next. The features file names the
 * plugin before and after, and stays.
 */
class cPluginReplacement
{
public:
    /// All are used as long as this object lives.
    cPluginReplacement(cInstallMgr& manager, cConfigurationMgr& configuration, const cLog& log);

    /// Whether @p id is there as a plugin of the development feature, and of no other.
    static bool isFor(const cFeatureCatalogue& installed, const cPluginId& id);

    /// Installs the package at @p path, whose plugin isFor(), if @p trust has it; the features are loaded. Where the
    /// contents are equal, nothing is done. A failure has been logged.
    [[nodiscard]] cInstallOutcome run(const cPluginId& id, const QString& path, cPackageTrust& trust);

private:
    void replace(const cPluginId& id, const cPackage& package);
    [[nodiscard]] QString unpack(const cPluginId& id, const cPackage& package, const QString& folder);
    [[nodiscard]] QString swap(const cPluginId& id, const QString& from);
    [[nodiscard]] QString writeRecord(const cPluginId& id, bool hasCommands);
    void runCommands(const cPluginId& id, IInstallMgr::OPERATION operation, bool* hasCommands);
    void leaveOut(const QString& reason, bool isWorthRetrying = false);

    cInstallMgr& m_manager;
    cConfigurationMgr& m_configuration;
    cLog m_log;
    cFileRecord::Files m_files; // that have been unpacked
    cInstallOutcome m_outcome;
};
