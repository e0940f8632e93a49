// Plugins with the mistakes that beginners make. Which one it is, the manifest says: by the entry function, or by the
// word in its params.
#include <Norvale/Corvane.h>
#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>

#include <stdexcept>

/// Its service as it should be, with methods that are called wrongly.
class cHello : public QObject, public IPlugin
{
    Q_OBJECT
    Q_CLASSINFO("service", "Hello")

public:
    bool start(IPluginContext* context) override
    {
        const QString mistake = context->params().get("mistake", "").toString();
        IServiceMgr::instance()->registerService(this);
        if (mistake == "throws")
            throw std::runtime_error("the printer is on fire");
        return mistake != "fails";
    }
    void stop(IPluginContext*) override { IServiceMgr::instance()->unregisterService(this); }

    Q_INVOKABLE QString greet(const QString& name) { return "Hello, " + name; }
    Q_INVOKABLE int add(int a, int b) { return a + b; }
    Q_INVOKABLE void fail() { throw std::runtime_error("the printer is on fire"); }
    QString whisper(const QString& name) { return name; }
};

/// Registers itself, and stays registered.
class cRegistered : public QObject, public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        IServiceMgr::instance()->registerService(this);
        return true;
    }
    void stop(IPluginContext*) override {}
};

/// Without Q_OBJECT its class information is not there.
class cNoMacro : public cRegistered
{
    Q_CLASSINFO("service", "Hello")
};

/// Under a name that is not declared.
class cMisspelt : public cRegistered
{
    Q_OBJECT
    Q_CLASSINFO("service", "Helo")
};

/// Calls Hello, and hears events, wrongly.
class cGuest : public QObject, public IPlugin
{
    Q_OBJECT

public:
    bool start(IPluginContext* context) override
    {
        const QString mistake = context->params().get("mistake", "").toString();
        IServiceMgr* const services = IServiceMgr::instance();
        const QString name = "Ada";
        QString greeting;
        int number = 0;
        if (mistake == "return")
            services->invoke("Hello", "greet", Q_RETURN_ARG(int, number), Q_ARG(QString, name));
        if (mistake == "argument")
            services->invoke("Hello", "greet", Q_RETURN_ARG(QString, greeting), Q_ARG(QByteArray, "Ada"));
        if (mistake == "private")
            services->invoke("Hello", "whisper", Q_RETURN_ARG(QString, greeting), Q_ARG(QString, name));
        if (mistake == "throws")
            services->invoke("Hello", "fail");
        if (mistake == "listener")
            services->addListener("HelloEvents", this);
        if (mistake == "prefix")
            Corvane::FileReadAll("Gest:names.txt", nullptr);
        if (mistake == "endl") {
            context->log().warning() << "the first line";
            context->log().warning() << "the second line" << Qt::endl;
        }
        return true;
    }
    void stop(IPluginContext*) override { IServiceMgr::instance()->removeListener("HelloEvents", this); }

    Q_INVOKABLE void greeted(const QString&) {}
};

static cHello s_hello;
static cNoMacro s_noMacro;
static cMisspelt s_misspelt;
static cGuest s_guest;

#define ENTRY(LINKAGE, FUNCTION, PLUGIN)                                                                               \
    LINKAGE Q_DECL_EXPORT IPlugin* FUNCTION()                                                                          \
    {                                                                                                                  \
        return PLUGIN;                                                                                                 \
    }                                                                                                                  \
    static_assert(true, "")
ENTRY(extern "C", create, &s_hello);
ENTRY(extern "C", createNoMacro, &s_noMacro);
ENTRY(extern "C", createMisspelt, &s_misspelt);
ENTRY(extern "C", createGuest, &s_guest);
ENTRY(extern "C", createNothing, nullptr);
ENTRY(, createMangled, &s_hello);

#include "Plugin.moc"
