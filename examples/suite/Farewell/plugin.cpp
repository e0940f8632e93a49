#include "cFarewell.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>
#include <QtCore/QScopedPointer>

class cFarewellPlugin : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        m_farewell.reset(new cFarewell);
        IServiceMgr::instance()->addListener("GreeterEvents", m_farewell.data());
        IServiceMgr::instance()->registerService(m_farewell.data());
        return true;
    }

    void stop(IPluginContext*) override
    {
        IServiceMgr::instance()->unregisterService(m_farewell.data());
        m_farewell.reset();
    }

private:
    QScopedPointer<cFarewell> m_farewell;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cFarewellPlugin plugin;
    return &plugin;
}
