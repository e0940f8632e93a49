#include "cHeartbeat.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>
#include <QtCore/QScopedPointer>

class cHeartbeatPlugin : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        m_heartbeat.reset(new cHeartbeat(context->params().get("interval", 60000).toInt(), context->log()));
        IServiceMgr::instance()->addListener("SettingsEvents", m_heartbeat.data());
        IServiceMgr::instance()->registerService(m_heartbeat.data());
        return true;
    }

    void stop(IPluginContext* context) override
    {
        context->log().info() << "stopped after" << m_heartbeat->beats() << "beats" << Qt::endl;
        IServiceMgr::instance()->unregisterService(m_heartbeat.data());
        m_heartbeat.reset();
    }

private:
    QScopedPointer<cHeartbeat> m_heartbeat;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cHeartbeatPlugin plugin;
    return &plugin;
}
