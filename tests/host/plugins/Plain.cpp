// A plugin that only notes its life, and registers a service named as itself.

#include "Journal.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>

class cPlainService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", PLUGIN_NAME)

public:
    Q_INVOKABLE QString name() { return QStringLiteral(PLUGIN_NAME); }
};

class cPlain : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        note("start " PLUGIN_NAME);
        IServiceMgr::instance()->registerService(&m_service);
        return true;
    }

    void stop(IPluginContext*) override { note("stop " PLUGIN_NAME); }

private:
    cPlainService m_service;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cPlain plugin;
    return &plugin;
}

#include "Plain.moc"
