#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/cLog.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

/// Ends the host as soon as that serves, when the environment has PROBE_ENDS_HOST.
class cProbe : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        context->log().info() << "the probe has started" << Qt::endl;
        if (qEnvironmentVariableIsSet("PROBE_ENDS_HOST"))
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        return true;
    }

    void stop(IPluginContext* context) override { context->log().info() << "the probe has stopped" << Qt::endl; }
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cProbe probe;
    return &probe;
}
