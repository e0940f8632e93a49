#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QVariant>

#include <memory>
#include <stdexcept>

/// A service and listener that nobody withdraws.
class cLeftService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "left")

public:
    Q_INVOKABLE void onChanged() {}
};

/// Another one, which another thread registers.
class cThreadsService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "leftByThread")

public:
    using QObject::QObject;
};

/// A type of this library: nothing of it may be touched once the library is unloaded.
struct sFailure : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// What it does depends on the name of the library that it is compiled for. The journal, the plugins to ask for and the
/// managers are properties of the application object.
class cFixture : public IPlugin
{
public:
    cFixture()
    {
        if (is("loadsWhileLoading"))
            askForOthers(true);
    }
    bool start(IPluginContext* context) override
    {
        note("start " + context->name());
        if (is("throwsInStart"))
            throw sFailure("out of paper");
        if (is("loadsOther"))
            askForOthers(false);
        if (is("leavesService"))
            leaveService();
        if (is("acts") || is("actsAndFails"))
            act(context->name());
        return !is("startFails") && !is("leavesService") && !is("actsAndFails");
    }
    void stop(IPluginContext* context) override
    {
        note("stop " + context->name());
        if (is("throwsInStop"))
            throw 42;
    }
    static bool is(const char* library) { return qstrcmp(FIXTURE, library) == 0; }

private:
    /// The answer expected is not @p before.
    static void askForOthers(bool before)
    {
        for (const QString& name : QCoreApplication::instance()->property("wanted").toStringList()) {
            bool isLoaded = before;
            QMetaObject::invokeMethod(managerOf("pluginMgr"), "DoLoad", Q_ARG(QString, name), Q_ARG(bool*, &isLoaded));
            note(isLoaded ? name + " there" : "no " + name);
        }
    }
    /// Nobody deletes it, since its code is gone by then; the test keeps it in sight of the leak checker.
    static void leaveService()
    {
        QObject* service = new cLeftService;
        *static_cast<QObject**>(QCoreApplication::instance()->property("leftService").value<void*>()) = service;
        auto* other = new cThreadsService(service);
        QObject* services = managerOf("serviceMgr");
        QMetaObject::invokeMethod(services, "registerService", Q_ARG(QObject*, service));
        QMetaObject::invokeMethod(services, "addListener", Q_ARG(QString, QStringLiteral("LeftEvents")),
                                  Q_ARG(QObject*, service), Q_ARG(QString, QStringLiteral("on")));
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            QMetaObject::invokeMethod(services, "registerService", Qt::DirectConnection, Q_ARG(QObject*, other));
        }));
        thread->start();
        thread->wait();
    }
    /// Has the test take the steps that it has for this plugin.
    static void act(const QString& plugin)
    {
        const QString steps = QCoreApplication::instance()->property(qPrintable("acts " + plugin)).toString();
        for (const QString& step : steps.split(", "))
            QMetaObject::invokeMethod(managerOf("suite"), "take", Q_ARG(QString, step));
    }
    static QObject* managerOf(const char* name)
    {
        return QCoreApplication::instance()->property(name).value<QObject*>();
    }
    static void note(const QString& text)
    {
        QCoreApplication::instance()->setProperty(
            "journal", QCoreApplication::instance()->property("journal").toStringList() << text);
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
