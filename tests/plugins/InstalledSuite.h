#pragma once

#include "plugins/cFileRecord.h"
#include "services/cServiceMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLogCentral.h>
#include <PluginFolder.h>
#include <PublishedPlugins.h>
#include <SettingsSandbox.h>

#include <QtTest/QtTest>

#include <stdexcept>
#include <thread>

/// A service of the test, which plugins register.
class cLentService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "lent")
};

/// A small installation on disk, with the managers that run it. All that happens is noted in one journal, in which the
/// plugins write, too: the suite is a property of the application object.
class cInstalledSuite : public QObject, public IPluginObserver, public Corvane::ILocalSocketMessageHandler
{
    Q_OBJECT

public:
    /// A plugin is its name, the library of its fixture and what its manifest says (`auto`, `in:CATEGORY`, `needs:P`,
    /// `gives:S`); or its name and a manifest as it stands.
    explicit cInstalledSuite(const QStringList& plugins)
    {
        sandbox.setInstallDir(sandbox.path());
        Corvane::initializeFolderOrFile();
        cLogCentral::setDebuggerOutput(true); // or there is no history
        manager.setServiceMgr(&services);
        static QObject* leftService;
        QCoreApplication::instance()->setProperty("leftService", QVariant::fromValue<void*>(&leftService));
        QCoreApplication::instance()->setProperty("serviceMgr", QVariant::fromValue<QObject*>(&services));
        QCoreApplication::instance()->setProperty("suite", QVariant::fromValue<QObject*>(this));
        for (const QString& plugin : plugins)
            install(plugin.section(' ', 0, 0), plugin.section(' ', 1));
    }
    void install(const QString& name, const QString& what)
    {
        const QString library = what.section(' ', 0, 0) + cPluginInstance::LibrarySuffix;
        names.append(name);
        writePlugin(sandbox.path(), name + "-1.00.000", what.startsWith('<') ? what : what.section(' ', 1),
                    FIXTURE_DIR "/" + library);
    }
    QString folderOf(const QString& name) const { return sandbox.path() + "/plugins/" + name + "-1.00.000"; }

    void spanBegin(Span span, const QString& plugin) override
    {
        note(QString("<") + "mlsp"[span] + plugin);
        if (isAngry)
            throw std::runtime_error("lens cap");
    }
    void spanEnd(Span, const QString&, bool ok) override
    {
        note(ok ? ">" : "!>");
        if (isAngry)
            throw 42;
    }
    void handleMessage(int, const cJsonValue&) override { note("message"); }

public slots:
    void note(const QString& text) { journal.append(text); }
    /// Takes the steps that are meant for the start of a plugin, a complete category or a new state.
    void act(const QString& occasion)
    {
        for (const QString& step : stepsOf.value(occasion))
            take(step);
    }
    // The steps of a row, and of plugins that act; what stands behind the first word is given to them.
    void take(QString step)
    {
        QVERIFY(
            QMetaObject::invokeMethod(this, step.section(' ', 0, 0).toLatin1(), Q_ARG(QString, step.section(' ', 1))));
    }
    void acts(QString words) { stepsOf[words.section(' ', 0, 0)] = words.section(' ', 1).split("; "); }
    void categories(QString list) { manager.setLoadCategories(list.split('+')); }
    void lend(QString) { services.registerService(&lent); }
    void listen(QString set) { services.addListener(set, this, "on"); }
    void onLoadPluginCategoryCompleted(QString category)
    {
        note(category + " complete");
        act(category);
    }
    void onChanged() { note("changed"); }
    void raise(QString set) { static_cast<IServiceMgr&>(services).notify(set, "Changed"); }
    void handle(QString) { Corvane::registerLocalSocketMessageHandler(this); }
    void send(QString) { Corvane::handleLocalSocketMessage(0, cJsonValue()); }
    void hook(QString) { cLogCentral::addHook(this, "onLine"); }
    void anger(QString) { isAngry = true; }
    void discover(QString) { note(manager.discover() ? "discovered" : "faulty"); }
    void start(QString) { note(manager.StartNormal() ? "started" : "not started"); }
    void stop(QString) { manager.StopNormal(); }
    void load(QString name) { note(manager.load(name) ? name + " there" : "no " + name); }
    void serve(QString service) { note(manager.loadByService(service) ? service + " there" : "no " + service); }
    void call(QString service)
    {
        static_cast<IServiceMgr&>(services).invoke(service, "x");
        note(services.lastError());
    }
    void observe(QString whether) { manager.setObserver(whether == "not" ? nullptr : this); }
    void put(QString plugin)
    {
        names.removeOne(plugin.section(' ', 0, 0));
        install(plugin.section(' ', 0, 0), plugin.section(' ', 1));
    }
    void publish(QString) { installed.publishInstalledPlugins(); }
    /// Notes the files of a plugin as they are.
    void record(QString name)
    {
        cFileRecord files;
        QString error;
        QVERIFY2(files.read(), qPrintable(files.errorString()));
        cRecordedFile file;
        const QString library = QString("plain") + cPluginInstance::LibrarySuffix;
        QVERIFY2(file.take(folderOf(name) + "/" + library, &error), qPrintable(error));
        files.set({name, cVersion("1.0.0")}, {{library, file}});
        QVERIFY2(files.write(), qPrintable(files.errorString()));
    }
    /// "NAME touch", "NAME cut", or "NAME append", which a system loads as before.
    void change(QString what)
    {
        QFile file(folderOf(what.section(' ', 0, 0)) + "/plain" + cPluginInstance::LibrarySuffix);
        QVERIFY(file.open(QFile::ReadWrite | QFile::Append));
        if (what.endsWith("cut"))
            QVERIFY(file.resize(file.size() / 2));
        else if (what.endsWith("append"))
            QCOMPARE(file.write("x"), 1);
        QVERIFY(file.setFileTime(QDateTime(QDate(2001, 1, 1), QTime()), QFile::FileModificationTime));
    }
    void without(QString plugins) { manager.leaveOut(plugins.split(' ', Qt::SkipEmptyParts)); }
    void uninstall(QString name) { names.removeOne(name); }
    void removeManifest(QString name) { QVERIFY(QFile::remove(folderOf(name) + "/Manifest.xml")); }
    void events(QString) { QCoreApplication::processEvents(); }
    void outcome(QString)
    {
        const cStartOutcome outcome = manager.lastOutcome();
        note(QString("outcome %1 with %2 reasons").arg(outcome.result).arg(outcome.reasons.size()));
    }
    void askInThread(QString name)
    {
        bool isLoaded = true;
        std::thread([&] {
            emit manager.DoLoad(name, nullptr);
            isLoaded = manager.loadByService(name);
        }).join();
        note(isLoaded ? "at once" : "not at once");
    }
    void tearTranslation(QString name)
    {
        writeFile(folderOf(name) + "/ts/strings_xx_XX.qm", "\x3c\xb8\x64\x18");
        sandbox.setMachineValue("ConfigMgr/Locale", "xx_XX");
    }
    /// Notes why each plugin does not run, with a mark where it has failed, and without what differs between systems.
    void why(QString)
    {
        for (const cPluginInfo& info : manager.plugins()) {
            QString reason = info.reason;
            note(info.name + (info.hasFailed ? "! " : ": ") +
                 reason.replace(sandbox.path() + "/plugins", "").replace(cPluginInstance::LibrarySuffix, ""));
        }
    }
    /// Notes what the manager tells of the plugins' states from now on; "queued" when the events are served.
    void watch(QString how)
    {
        connect(&manager, &IPluginMgr::pluginStateChanged, this, &cInstalledSuite::onState,
                how == "queued" ? Qt::QueuedConnection : Qt::AutoConnection);
    }
    void onState(const QString& name, cPluginInfo::State state)
    {
        const QString change = name + '=' + stateName(state);
        note(change);
        act(change);
        if (isAngry)
            throw std::runtime_error("no thanks");
    }
    /// The publications, and of each plugin its place in the order, its state, and a mark when its folder is searched.
    void list(QString)
    {
        QString text = QString::number(installed.publications);
        for (const cPluginInfo& info : manager.plugins())
            text += QString(" %1:%2:%3").arg(info.name).arg(info.order).arg(stateName(info.state)) +
                    (QDir::searchPaths(info.name).contains(folderOf(info.name)) ? "*" : "");
        note(text + " " + services.serviceList().join(' '));
    }

public:
    static QString stateName(cPluginInfo::State state)
    {
        const char* const names[] = {"Registered", "Ordered", "Loaded", "Started", "Stopped"};
        return names[state];
    }

    SettingsSandbox sandbox;
    QStringList journal;
    QMap<QString, QStringList> stepsOf;
    bool isAngry = false;
    cLentService lent;
    cServiceMgr services;
    cPluginMgr manager;
    cPublishedPlugins installed{manager};
    QStringList& names = installed.names;
};
