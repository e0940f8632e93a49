#pragma once

#include "plugins/cPluginMgr.h"

/// Stands for the installed features: publishes the plugins that are named, each in version 1.0.0.
class cPublishedPlugins : public IInstalledPlugins
{
public:
    explicit cPublishedPlugins(cPluginMgr& manager) : m_manager(manager) { manager.setInstalledPlugins(this); }

    bool publishInstalledPlugins() override
    {
        ++publications;
        m_manager.clearAllowed();
        for (const QString& name : qAsConst(names))
            m_manager.registerPlugin({name, cVersion("1.0.0")});
        return true;
    }
    bool isFeatureInstalled(const QString& name) const override { return name == "Core"; }
    QString publicationError() const override { return QString(); }
    bool isInDevelopment(const cPluginId& id) const override { return id.name() == "Developed"; }

    QStringList names;
    int publications = 0;

private:
    cPluginMgr& m_manager;
};
