#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QVariant>

#include <stdexcept>
#include <thread>

/// A service and listener that nobody withdraws.
class cLeftService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "left")

public:
    Q_INVOKABLE void onChanged() {}
};

/// A type of this library: nothing of it may be touched once the library is unloaded.
struct sFailure : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// What it does depends on the name of the library that it is compiled for, and on the steps that the suite takes for
/// it.
class cFixture : public IPlugin
{
public:
    cFixture()
    {
        if (is("loadsWhileLoading"))
            tellSuite("act", "loading");
    }
    bool start(IPluginContext* context) override
    {
        tellSuite("note", "start " + context->name());
        if (is("throwsInStart"))
            throw sFailure("out of paper");
        if (is("leavesService"))
            leaveService();
        tellSuite("act", context->name());
        return !is("startFails") && !is("leavesService");
    }
    void stop(IPluginContext* context) override
    {
        tellSuite("note", "stop " + context->name());
        if (is("throwsInStop"))
            throw 42;
    }
    static bool is(const char* library) { return qstrcmp(FIXTURE, library) == 0; }

private:
    /// By another thread, of which the start keeps no journal. Nobody deletes it, since its code is gone by then; the
    /// test keeps it in sight of the leak checker.
    static void leaveService()
    {
        QObject* service = new cLeftService;
        *static_cast<QObject**>(QCoreApplication::instance()->property("leftService").value<void*>()) = service;
        QObject* services = QCoreApplication::instance()->property("serviceMgr").value<QObject*>();
        std::thread([&] {
            QMetaObject::invokeMethod(services, "registerService", Qt::DirectConnection, Q_ARG(QObject*, service));
            QMetaObject::invokeMethod(services, "addListener", Qt::DirectConnection,
                                      Q_ARG(QString, QStringLiteral("LeftEvents")), Q_ARG(QObject*, service),
                                      Q_ARG(QString, QStringLiteral("on")));
        }).join();
    }
    static void tellSuite(const char* slot, const QString& text)
    {
        auto* suite = QCoreApplication::instance()->property("suite").value<QObject*>();
        QMetaObject::invokeMethod(suite, slot, Q_ARG(QString, text));
    }
};

static cFixture s_plugin;

extern "C" Q_DECL_EXPORT IPlugin* create()
{
    if (cFixture::is("throwsInEntry"))
        throw 42;
    return cFixture::is("entryNull") ? nullptr : &s_plugin;
}

#include "fixture.moc"
