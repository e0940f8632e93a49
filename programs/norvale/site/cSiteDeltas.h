#pragma once

#include "config/cFeatureCatalogue.h"
#include "site/cRepositoryEdit.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

class cRetiredList;
class cSiteState;

/**
 * The patches that one run publishes beside its packages, and what it tells of them. Like a package, a patch that is
 * published never changes.
 */
class cSiteDeltas
{
public:
    /// The most that can be asked for.
    static constexpr int Most = 9;

    cSiteDeltas(const cSiteState& state, const cRetiredList& retired) : m_state(state), m_retired(retired) {}

    /// Makes those of @p package, which has its place, from the last @p count versions of the plugin that the site
    /// still has, and names them in it. Those that are published stay.
    void make(cNewFile& package, int count);

    /// Takes over those of @p plugin, which lie below the folder @p repository; they will lie beside @p package, and
    /// are named in it. One that is gone, or is not what was published, is left behind and told.
    void take(const cFeaturePlugin& plugin, const QString& repository, cNewFile& package);

    /// What is to be written.
    QList<cNewFile> files() const;

    /// A line for each; also for those that could not be made, which says why.
    QStringList lines() const;

    /// Each as an object with "plugin", "version", "from", "size" and "percent", or "reason".
    QJsonArray json() const;

    /// The patches of the package file @p package, absolute, that lie beside it.
    static QStringList besidePackage(const QString& package);

private:
    struct Delta
    {
        cPluginId plugin;
        cVersion from;
        cNewFile file;
        int percent = 0; // of the package, rounded up
        QString reason;  // why there is none
    };

    /// A version of a plugin that the site has had.
    struct Older
    {
        cVersion version;
        QByteArray hash; // SHA-1 of its package
        QString path;
    };

    QList<Older> olderThan(const cPluginId& id) const;
    bool isPublished(cNewFile& package, const cVersion& from) const;
    void add(cNewFile& package, const cVersion& from, const QByteArray& bytes);

    const cSiteState& m_state;
    const cRetiredList& m_retired;
    QList<Delta> m_deltas;
};
