// The plugins of the suite that is damaged: each notes that it has started; the last one ends the host.

#include <Norvale/IPlugin.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

class cPlugin : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        QFile file(QFile::decodeName(qgetenv("VCORE_TEST_JOURNAL")));
        if (file.open(QIODevice::WriteOnly | QIODevice::Append))
            file.write(PLUGIN_NAME "\n");
        if (ENDS_HOST)
            QMetaObject::invokeMethod(qApp, "quit", Qt::QueuedConnection);
        return true;
    }
    void stop(IPluginContext*) override {}
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cPlugin plugin;
    return &plugin;
}
