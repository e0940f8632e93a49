#pragma once

#include <Norvale/cLog.h>

/**
 * The channels that the framework itself writes to.
 *
 * What it says holds names and phrases from outside: files, sites, other processes. From the moment when it takes one
 * of its channels, the lines of that channel are shown (see version/Shown.h) but for the line end that ends them, in
 * every sink. The channels of hosts and plugins pass everything on as it was streamed. Any thread.
 */
class cFrameworkLog
{
public:
    cFrameworkLog() = delete;

    static cLog library() { return take(QStringLiteral("Norvale")); }
    static cLog plugins() { return take(QStringLiteral("PluginMgr")); }
    static cLog services() { return take(QStringLiteral("ServiceMgr")); }
    static cLog configuration() { return take(QStringLiteral("ConfigurationMgr")); }
    static cLog installation() { return take(QStringLiteral("InstallMgr")); }

    /// Whether lines go anywhere: to the log file, the debugger output, or what is kept for a report.
    static bool isHeard();

    /// Has the system write what the log file still buffers: it is on disk when the process ends in whatever way.
    static void writeOut();

private:
    static cLog take(const QString& name);
};
