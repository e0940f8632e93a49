#include "plugins/cPluginRegistry.h"

#include "core/Files.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QSet>

cPluginRegistry::Plugin cPluginRegistry::findOrMake(const QString& name, const cVersion& version)
{
    Plugin& plugin = m_allPlugins[qMakePair(name, version)];
    if (!plugin) {
        plugin = Plugin::create(name, version);
        plugin->setFolder(Corvane::pluginDir(cPluginId(name, version)).absolutePath());
    }
    return plugin;
}

bool cPluginRegistry::isKnown(const QString& name, const cVersion& version) const
{
    return m_allPlugins.contains(qMakePair(name, version));
}

void cPluginRegistry::clearAllowed()
{
    for (const Plugin& plugin : qAsConst(m_allPlugins))
        plugin->setRegistered(false);
}

void cPluginRegistry::registerPlugin(const QString& name, const cVersion& version)
{
    const Plugin plugin = findOrMake(name, version);
    plugin->setRegistered(true);
    m_loadList.append(plugin);
    QList<Plugin>& namesakes = m_byName[name];
    if (!namesakes.contains(plugin))
        namesakes.append(plugin);
}

QList<cPluginRegistry::Plugin> cPluginRegistry::loadList() const
{
    QList<Plugin> list;
    list.reserve(m_loadList.size());
    for (const Plugin& plugin : m_loadList) {
        if (plugin->isRegistered())
            list.append(plugin);
    }
    return list;
}

QList<cPluginRegistry::Plugin> cPluginRegistry::registered() const
{
    QList<Plugin> list;
    QSet<const cPluginInstance*> seen;
    for (const Plugin& plugin : m_loadList) {
        if (plugin->isRegistered() && !seen.contains(plugin.data())) {
            seen.insert(plugin.data());
            list.append(plugin);
        }
    }
    return list;
}

cPluginRegistry::Plugin cPluginRegistry::findByName(const QString& name) const
{
    for (const Plugin& plugin : m_byName.value(name)) {
        if (plugin->isRegistered())
            return plugin;
    }
    return Plugin();
}
