#pragma once

#include <Norvale/cLog.h>

#include <QtCore/QSet>
#include <QtCore/QString>

class cInstallMgr;

/**
 * Removes plugin folders, and announces each.
 */
class cFolderSweep
{
public:
    cFolderSweep(cInstallMgr& manager, const cLog& log) : m_manager(manager), m_log(log) {}

    /// Removes what the journal notes and @p named, the identities of the installed plugins, does not hold in any case;
    /// then the journal. What cannot be removed is logged and stays noted, for the next start.
    void run(const QSet<QString>& named);

    /// Removes the folder of the plugin @p identity, if it is there. False when something of it stays; it is logged.
    bool remove(const QString& identity);

private:
    cInstallMgr& m_manager;
    cLog m_log;
};
