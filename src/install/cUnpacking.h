#pragma once

#include "install/cInstallPlan.h"
#include "plugins/cFileRecord.h"

#include <Norvale/cLog.h>

#include <QtCore/QHash>
#include <QtCore/QString>

class cFeaturePlugin;
class cInstallMgr;
class cPackage;
class cPackageTrust;
class cPluginMgr;

/**
 * The packages of a location on the local disk.
 */
class cPackageSource
{
public:
    enum Kind {
        Kept,         ///< a description, with packages beside it
        Consumed,     ///< the same, and each is deleted when it has been used
        SinglePackage ///< a package by itself, which the catalogue names as a source
    };

    /// @p path is the description or the package.
    cPackageSource(const QString& path, Kind kind);

    const QString& path() const { return m_path; }

    /// The path of the package of @p plugin: "name-version.zip" beside the description, or else the first source that
    /// is an existing file; empty when there is neither. A relative source is taken from the location of its document,
    /// by default this one.
    QString find(const cFeaturePlugin& plugin) const;

    /// Whether what has been used is to be deleted.
    bool isConsumed() const { return m_kind == Consumed; }

    /// "name-version.zip" beside the description, whether it is there or not.
    QString besideDescription(const cPluginId& id) const;

private:
    QString m_path;
    QString m_folder; // that holds the packages
    Kind m_kind;
};

/// Deletes a file of a location that is consumed, if it is there. When it stays, that is logged.
void consumeFile(const QString& path, const cLog& log);

/**
 * Unpacks the packages of a plan's features, each verified whole before a file of it is written, and leaves out of the
 * plan the features that cannot be had. A defective package is deleted when its location is consumed.
 */
class cUnpacking
{
public:
    /// All are used as long as this object lives.
    cUnpacking(cInstallMgr& manager, cPluginMgr& plugins, const cLog& log, const cPackageSource& source,
               cPackageTrust& trust, cInstallPlan& plan);

    /// When it returns, what has been unpacked is on the disk.
    void run();

    /// The files of the plugins that have been unpacked, for the record.
    const QHash<cPluginId, cFileRecord::Files>& files() const { return m_files; }

private:
    using Reason = cInstallPlan::Reason;

    void unpackFeature(int index);
    Reason unpack(const cFeaturePlugin& plugin);
    Reason differing(const cFeaturePlugin& plugin) const;
    Reason verify(const cFeaturePlugin& plugin, const QString& path, cPackage& package);
    Reason write(const cPluginId& id, const cPackage& package);

    cInstallMgr& m_manager;
    cPluginMgr& m_plugins;
    cLog m_log;
    const cPackageSource& m_source;
    cPackageTrust& m_trust;
    cInstallPlan& m_plan;
    QHash<cPluginId, cFileRecord::Files> m_files;
    QHash<cPluginId, Reason> m_outcomes;   // of each plugin that has been tried
    QHash<QString, cPluginId> m_occupants; // the plugins that are there, by their caseless keys
};
