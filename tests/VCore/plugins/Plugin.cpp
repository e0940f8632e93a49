// All plugins of the test suite: each notes its life, registers its service and answers the commands with its name.

#include "cTextService.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

/// Appends a line to the file that the test names, so that it sees what happened in the host in which order.
static void note(const QByteArray& line)
{
    QFile file(QFile::decodeName(qgetenv("VCORE_TEST_JOURNAL")));
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(line + '\n');
}

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
