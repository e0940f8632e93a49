#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QByteArray>

/// Answers what it is given.
class cEchoPlugin : public QObject, public IPlugin
{
    Q_OBJECT
    Q_CLASSINFO("service", "Echo")

public:
    bool start(IPluginContext*) override
    {
        IServiceMgr::instance()->registerService(this);
        return true;
    }
    void stop(IPluginContext*) override { IServiceMgr::instance()->unregisterService(this); }

    Q_INVOKABLE int number(int value) { return value; }
    Q_INVOKABLE QString text(const QString& value) { return value; }
};

extern "C" Q_DECL_EXPORT IPlugin* create()
{
    static cEchoPlugin plugin;
    return &plugin;
}

#include "echoPlugin.moc"
