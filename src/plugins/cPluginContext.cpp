#include "plugins/cPluginContext.h"

#include "plugins/cPluginInstance.h"

#include <Norvale/cJsonValue.h>
#include <Norvale/cLogCentral.h>

QString cPluginContext::name() const
{
    return m_plugin.name();
}

cJsonValue cPluginContext::params() const
{
    return m_plugin.params();
}

cLog cPluginContext::log() const
{
    return cLogCentral::log(m_plugin.name());
}
