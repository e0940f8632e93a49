#include "cSettings.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <QtCore/QScopedPointer>

/// Serves the settings of the suite. Every host loads the plugin of this name first.
class cSettingsPlugin : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        m_settings.reset(new cSettings(Corvane::velmiraFolderOrFile(Corvane::SettingsFile), context->log()));
        if (!m_settings->load())
            return false;
        IServiceMgr::instance()->registerService(m_settings.data());
        return true;
    }

    void stop(IPluginContext*) override
    {
        IServiceMgr::instance()->unregisterService(m_settings.data());
        m_settings.reset();
    }

private:
    QScopedPointer<cSettings> m_settings;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cSettingsPlugin plugin;
    return &plugin;
}
