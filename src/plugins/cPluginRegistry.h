#pragma once

#include "plugins/cPluginInstance.h"

#include <Norvale/cVersion.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

/**
 * The plugin records: every one ever made, and the load list of those that were registered for this run.
 *
 * Publishing happens more than once in a start, so a record may stand in the load list more than once; and a record
 * that the last publication did not name again counts as not registered, though the list still holds it.
 */
class cPluginRegistry
{
public:
    using Plugin = QSharedPointer<cPluginInstance>;

    /// The record of exactly that name and version; made, with the folder of an installed plugin, if there is none.
    Plugin findOrMake(const QString& name, const cVersion& version);
    bool isKnown(const QString& name, const cVersion& version) const;

    /// No record counts as registered until it is registered again.
    void clearAllowed();
    void registerPlugin(const QString& name, const cVersion& version);

    /// The registered records of the load list in its order, as often as they stand in it.
    QList<Plugin> loadList() const;

    /// The same, each record once.
    QList<Plugin> registered() const;

    /// The first registered record of that name in the load list; null when there is none.
    Plugin findByName(const QString& name) const;

private:
    QList<Plugin> m_loadList;
    QMap<QPair<QString, cVersion>, Plugin> m_allPlugins;
    QHash<QString, QList<Plugin>> m_byName; // index of the load list: each record once, in the order of the list
};
