#pragma once

#include "version/cPluginId.h"

#include <Norvale/cLog.h>

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

class QFileInfo;
class cInstallMgr;

/**
 * Removes a folder with everything in it. Links are removed, never followed, also when the folder itself is one.
 */
class cFolderRemover
{
public:
    /// True when nothing is left at @p path, also when nothing was there. Goes on after what cannot be removed.
    [[nodiscard]] bool remove(const QString& path);

    /// The first path that could not be removed, and why.
    const QString& errorString() const { return m_errorString; }

private:
    bool removeEntry(const QFileInfo& entry);
    bool removeFolder(const QString& path);
    bool removeFile(const QString& path);
    bool fail(const QString& path, const QString& reason);

    QString m_errorString;
};

/**
 * Notes which plugin folders a run is about to make or to remove, in a file beside the features file.
 *
 * It is written before the first of them is touched and removed when the last is done. Whatever cuts the run off: of
 * the folders noted, those that the features file names belong to what is installed, and all others are leftovers that
 * may be removed, be they half unpacked or replaced.
 */
class cFolderJournal
{
public:
    /// In the plugins folder of this installation.
    cFolderJournal();

    /// Whether a run has left its notes behind.
    bool exists() const;

    /// Adds @p plugins to what is noted. False when that cannot be written; errorString() tells why.
    [[nodiscard]] bool note(const QVector<cPluginId>& plugins);

    /// What is noted, without lines that name no folder of a plugin.
    QVector<cPluginId> plugins() const;

    /// False when it stays; errorString() tells why.
    [[nodiscard]] bool remove();

    const QString& errorString() const { return m_errorString; }

private:
    QString m_path;
    QString m_errorString;
};

/**
 * Removes plugin folders, and announces each.
 */
class cFolderSweep
{
public:
    cFolderSweep(cInstallMgr& manager, const cLog& log) : m_manager(manager), m_log(log) {}

    /// The folder in the plugins folder that a repair unpacks in. It is a leftover when no repair is under way.
    static const QLatin1String ScratchName;
    /// The folder in the plugins folder that holds what a package of the same version replaces, until that counts.
    static const QLatin1String ReplacedName;
    /// Where a repair keeps a features file that it has replaced.
    static QString damagedFeaturesFile();

    /// Puts plugin folders back that a run has moved away and not come to replace: what lies in their places is not as
    /// the record of files says. False when one could not be; it is logged.
    bool restoreReplaced();

    /// Puts back what restoreReplaced() does. Then removes what the journal notes and @p installed does not hold in any
    /// case; then the journal. What cannot be removed is logged and stays noted, for the next start. What a repair has
    /// left unfinished goes, too.
    void run(const QSet<cPluginId>& installed);

    /// Removes the folder of the plugin @p id, if it is there. False when something of it stays; it is logged.
    bool remove(const cPluginId& id);

private:
    cInstallMgr& m_manager;
    cLog m_log;
};
