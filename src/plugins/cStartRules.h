#pragma once

#include "plugins/cManifest.h"
#include "version/FlatMap.h"
#include "version/cPluginId.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

/// What keeps a set of plugins from starting.
struct cStartFault
{
    enum Kind {
        Manifest,   ///< a manifest is refused by itself
        Service,    ///< two plugins declare one service
        Dependency, ///< a plugin depends on one that is not there
        Circle      ///< plugins depend on each other
    };
    Kind kind;
    QVector<cPluginId> plugins; // whom it concerns; the last one breaks the rule
    QString absent;             // the name of a plugin that the last one depends on and that is not there, else empty
    QString reason;             // in the words of the start
};

/// One plugin of a set that is judged without being started.
struct cStartCandidate
{
    cPluginId id;
    cManifest manifest;
    QString readError; // why the manifest could not be read to its end; empty when it was
};

/**
 * What a start asks of its plugins before it loads any of them: each is made for this runtime, and a service is
 * declared by one plugin, and once. An object takes up the plugins of one set, one after another.
 *
 * The start uses it, and whoever has to know beforehand whether a set would start.
 */
class cStartRules
{
public:
    /// Why a start refuses a plugin whose manifest cannot be read to its end.
    static QString unreadable(const cPluginId& id, const QString& readError);

    /// Takes a plugin up into the set, with what its manifest says. @return what keeps the set from starting now.
    std::optional<cStartFault> enter(const cPluginId& id, qint32 runtimeApiVersion, const QStringList& services);

    /// The name of the plugin that declares the service; null when there is none. Lives as long as nothing is entered.
    const QString* ownerOf(const QString& service) const;

    /// All that keeps the set @p candidates, one of each name and in the order of publication, from starting: faults of
    /// manifests, services that are declared twice, absent dependencies and circles. Empty when it starts.
    static QVector<cStartFault> faultsOf(const QVector<cStartCandidate>& candidates);

private:
    FlatMap<QString, cPluginId> m_owners; // by service
};
