// The plugin that the start-up is measured with; each copy of its library is a plugin of its own.

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>

#include <QtCore/QString>

class cSmallPlugin : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        m_name = context->name();
        return !m_name.isEmpty();
    }
    void stop(IPluginContext*) override {}

private:
    QString m_name;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cSmallPlugin plugin;
    return &plugin;
}
