#pragma once

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QList>
#include <QtCore/QStringList>

#include <memory>

class cCmdLine;
class cConditionEngine;
class cInstallMgr;
class cPluginId;
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

    /// What went wrong so far, a sentence each, as it has been logged.
    const QStringList& errors() const { return m_errors; }

private:
    bool runAll(const cPluginId& id, const QList<cCmdLine>& lines, const QString& folder);
    bool isWanted(const cPluginId& id, const cCmdLine& line);
    bool logAndFail(const QString& error);
    static QString execute(const cCmdLine& line, const QString& folder);

    cInstallMgr& m_manager;
    cLog m_log;
    std::unique_ptr<cConditionEngine> m_conditions; // made for the first condition
    QStringList m_errors;
};
