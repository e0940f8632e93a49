#pragma once

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QList>

#include <memory>

class QString;
class cCmdLine;
class cConditionEngine;
class cInstallMgr;
class cPluginInstance;

/**
 * Runs the install or uninstall command lines of plugins, one after another and each to its end, and announces it.
 */
class cCommandRunner
{
public:
    /// @p manager makes the announcements; it must live as long as this object.
    cCommandRunner(cInstallMgr& manager, const cLog& log);
    ~cCommandRunner();

    /// Reads the plugin's manifest and runs what it declares for @p operation, OPERATION_INSTALL or
    /// OPERATION_UNINSTALL. False when the manifest cannot be read or a command line failed, of which the later ones
    /// are not run; the reason has been logged. A plugin without command lines is done without being announced.
    bool run(cPluginInstance& plugin, IInstallMgr::OPERATION operation);

private:
    bool runAll(const cPluginInstance& plugin, const QList<cCmdLine>& lines);
    bool isWanted(const cPluginInstance& plugin, const cCmdLine& line);
    static QString execute(const cCmdLine& line, const QString& folder);

    cInstallMgr& m_manager;
    cLog m_log;
    std::unique_ptr<cConditionEngine> m_conditions; // made for the first condition
};
