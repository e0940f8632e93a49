// All plugins of the test suite: each notes its life, registers its service and answers the commands with its name.

#include "Journal.h"
#include "cTextService.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QCoreApplication>

class cPlugin : public IPlugin, public Corvane::ILocalSocketMessageHandler
{
public:
    bool start(IPluginContext*) override
    {
        note("start " PLUGIN_NAME);
        const QString goOn = QFile::decodeName(qgetenv("VCORE_TEST_GO_ON"));
        while (!goOn.isEmpty() && !QFile::exists(goOn))
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        IServiceMgr::instance()->registerService(&m_service);
        Corvane::registerLocalSocketMessageHandler(this);
        return true;
    }

    void stop(IPluginContext*) override
    {
        note("stop " PLUGIN_NAME);
        while (qEnvironmentVariableIsSet("VCORE_TEST_HANG"))
            QThread::msleep(10);
        Corvane::unregisterLocalSocketMessageHandler(this);
    }

    void handleMessage(int connectionId, const cJsonValue& message) override
    {
        const QString command = message.get("command", cJsonValue()).toString();
        if (command == "ECHO_" PLUGIN_NAME)
            for (const char* answer : {R"({"command":"ECHOED","part":1})", R"({"command":"ECHOED","part":2})"})
                IServiceMgr::instance()->invoke("VCore", "send", Q_ARG(int, connectionId), Q_ARG(QString, answer));
        else if (command == "THROW_" PLUGIN_NAME)
            message["no such member"];
    }

private:
    cTextService m_service;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cPlugin plugin;
    return &plugin;
}
