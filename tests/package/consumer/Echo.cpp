#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

/// Says what it is told, between a text from a file of its own folder and one from its params.
class cEcho : public QObject, public IPlugin
{
    Q_OBJECT
    Q_CLASSINFO("service", "Echo")

public:
    bool start(IPluginContext* context) override
    {
        bool isRead = false;
        m_prefix = QString::fromUtf8(Corvane::FileReadAll(context->name() + ":prefix.txt", &isRead));
        if (!isRead)
            return false;
        m_suffix = context->params().get("suffix", cJsonValue()).toString();
        IServiceMgr::instance()->registerService(this);
        context->log().info() << "started" << Qt::endl;
        return true;
    }

    void stop(IPluginContext*) override { IServiceMgr::instance()->unregisterService(this); }

    Q_INVOKABLE QString say(const QString& text) { return m_prefix + text + m_suffix; }

private:
    QString m_prefix;
    QString m_suffix;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cEcho plugin;
    return &plugin;
}

#include "Echo.moc"
