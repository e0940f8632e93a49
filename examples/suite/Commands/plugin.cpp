#include "cCommands.h"

#include <Norvale/IPlugin.h>

class cCommandsPlugin : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        Corvane::registerLocalSocketMessageHandler(&m_commands);
        return true;
    }

    void stop(IPluginContext*) override { Corvane::unregisterLocalSocketMessageHandler(&m_commands); }

private:
    cCommands m_commands;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cCommandsPlugin plugin;
    return &plugin;
}
