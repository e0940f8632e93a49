#pragma once

#include "config/cFeatureCatalogue.h"
#include "plugins/cFileRecord.h"

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class QDir;
class cConfigurationMgr;
class cInstallMgr;

/// The files that lie in the plugin folder @p folder now, links and what cannot be read left out. What looks untouched
/// since @p known is taken from there, all else is read.
cFileRecord::Files filesIn(const QString& folder, const cFileRecord::Files& known);

/**
 * What is installed, as far as that can be told: by the features file or, where that is damaged or gone, by the last
 * one that was whole.
 */
struct cInstalledState
{
    cFeatureCatalogue catalogue;
    QString fault;       // what is wrong with the features file, with its path; empty when it is whole
    bool isGone = false; // it is wrong in that there is none
    QByteArray lastXml;  // what the features file is to be again; empty when it is whole, or that is not known
    QString reason;      // why nothing can be told; empty when the catalogue is what is installed

    /// Name and version of the repository that the machine-wide settings have lost, though features of it are
    /// installed; an empty catalogue with both. Without a name when nothing is lost.
    cFeatureCatalogue lostRepository() const;

    /// Reads both as they are now; the configuration manager's installed catalogue is that of the features file.
    static cInstalledState read(cConfigurationMgr& configuration);
};

/**
 * One comparison of all installed files with the record of files. Nothing is changed. An object makes one run.
 */
class cVerification
{
public:
    /// @p manager makes the announcements; all are used as long as this object lives.
    cVerification(cInstallMgr& manager, const cLog& log) : m_manager(manager), m_log(log) {}

    /// Compares what @p state says is installed.
    cVerifyOutcome run(const cInstalledState& state);

    /// The plugins with a finding that a repair mends, and those that are sound as far as can be told but have no
    /// record; each once.
    const QVector<cPluginId>& faulty() const { return m_faulty; }
    const QVector<cPluginId>& unrecorded() const { return m_unrecorded; }
    const cFileRecord& record() const { return m_record; }

private:
    using Kind = cFileFinding::Kind;

    void readRecord();
    void compare(const cPluginId& id, bool isDevelopment);
    void compareFiles(const cPluginId& id, const QDir& folder);
    void compareWithoutRecord(const cPluginId& id, const QDir& folder, bool isDevelopment);
    void findForeignFiles(const cPluginId& id, const QDir& folder);
    void findForeignFolders(const QVector<cPluginId>& plugins);
    void add(Kind kind, const cPluginId& id, const QString& file, const QString& text);
    void add(Kind kind, const QString& file, const QString& text);
    void step(qint64 bytes);

    cInstallMgr& m_manager;
    cLog m_log;
    cFileRecord m_record;
    cVerifyOutcome m_outcome;
    QVector<cPluginId> m_faulty;
    QVector<cPluginId> m_unrecorded;
    qint64 m_done = 0; // units of progress, as step() counts them
    qint64 m_total = 0;
};
