#pragma once

#include "plugins/cPluginRegistry.h"

#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/**
 * The way from a plugin that is to be loaded down to the dependency that is looked at right now.
 *
 * It stands in for the recursion of loading dependencies first, so that a long chain of plugins takes no stack.
 */
class cLoadPath
{
public:
    using Plugin = cPluginRegistry::Plugin;

    void descend(const Plugin& plugin);
    void ascend();

    bool isEmpty() const { return m_steps.isEmpty(); }
    bool contains(const Plugin& plugin) const { return m_members.contains(plugin.data()); }

    /// The plugin that the path has come to.
    const Plugin& plugin() const { return m_steps.last().plugin; }

    /// Takes the plugin's next dependency, in manifest order. @return its name; null when all have been taken.
    QString takeDependency();

    /// The names from the plugin wanted to the one that the path has come to, "A -> B -> C"; of a long
    /// path both ends.
    QString text() const;

private:
    struct Step
    {
        Plugin plugin;
        QStringList dependencies;
        int taken = 0;
    };

    QVector<Step> m_steps;
    QSet<const cPluginInstance*> m_members;
};
