// The plugin that every test suite has: the service "Text", and a handler of messages that answers by way of the host.

#include "Journal.h"
#include "cTextService.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QCoreApplication>

#include <memory>

class cAnnouncedService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Announced")
};

class cEcho : public Corvane::ILocalSocketMessageHandler
{
public:
    void handleMessage(int connectionId, const cJsonValue& message) override
    {
        const QString command = message.get("command", cJsonValue()).toString();
        if (command == "ECHO")
            for (const char* answer : {R"({"command":"ECHOED","part":1})", R"({"command":"ECHOED","part":2})"})
                IServiceMgr::instance()->invoke("VCore", "send", Q_ARG(int, connectionId), Q_ARG(QString, answer));
        else if (command == "ANNOUNCE")
            IServiceMgr::instance()->registerService(&m_announced);
        else if (command == "THROW")
            message["no such member"];
    }

private:
    cAnnouncedService m_announced;
};

class cBase : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        note("start Base");
        const QString goOn = QFile::decodeName(qgetenv("VCORE_TEST_GO_ON"));
        while (!goOn.isEmpty() && !QFile::exists(goOn))
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        m_service = std::make_unique<cTextService>();
        m_echo = std::make_unique<cEcho>();
        IServiceMgr::instance()->registerService(m_service.get());
        Corvane::registerLocalSocketMessageHandler(m_echo.get());
        return true;
    }

    void stop(IPluginContext*) override
    {
        note("stop Base");
        while (qEnvironmentVariableIsSet("VCORE_TEST_HANG"))
            QThread::msleep(10);
        Corvane::unregisterLocalSocketMessageHandler(m_echo.get());
        m_echo.reset();
        m_service.reset();
    }

private:
    std::unique_ptr<cTextService> m_service;
    std::unique_ptr<cEcho> m_echo;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cBase plugin;
    return &plugin;
}

#include "Base.moc"
