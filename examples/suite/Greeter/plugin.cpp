#include "cGreeter.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>
#include <QtCore/QScopedPointer>

class cGreeterPlugin : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        m_greeter.reset(new cGreeter);
        IServiceMgr::instance()->registerService(m_greeter.data());
        return true;
    }

    void stop(IPluginContext*) override
    {
        IServiceMgr::instance()->unregisterService(m_greeter.data());
        m_greeter.reset();
    }

private:
    QScopedPointer<cGreeter> m_greeter;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cGreeterPlugin plugin;
    return &plugin;
}
