#pragma once

#include <Norvale/IPluginContext.h>

class cPluginInstance;

/**
 * The context of one plugin: answers from the plugin's record, which embeds it.
 */
class cPluginContext : public IPluginContext
{
public:
    explicit cPluginContext(const cPluginInstance& plugin) : m_plugin(plugin) {}

    QString name() const override;
    cJsonValue params() const override;
    cLog log() const override;

private:
    const cPluginInstance& m_plugin;
};
