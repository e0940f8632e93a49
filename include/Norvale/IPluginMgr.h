#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <Norvale/cPluginFailure.h>
#include <Norvale/cVersion.h>

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

/** @ingroup plugins
 * What the plugin manager knows about one installed plugin; a value that may be copied and kept.
 *
 * Everything but name, version, folder and state comes from the plugin's manifest and is empty, false or 0 before that
 * has been read.
 */
struct cPluginInfo
{
    /// The life of a plugin, in order. A plugin whose start fails falls back to Ordered.
    enum State {
        Registered, ///< An installed feature names it; it has no place in the start order yet.
        Ordered,    ///< It has its place in the start order.
        Loaded,     ///< Its library is loaded.
        Started,    ///< Its start succeeded.
        Stopped     ///< It has been stopped; its library stays loaded.
    };

    QString name;             ///< The plugin's name; case-sensitive.
    cVersion version;         ///< The plugin's version.
    QString category;         ///< The load category; empty when it has none.
    bool autoload = false;    ///< It is loaded at start-up whatever the load categories are.
    int order = 0;            ///< Its place in the start order, counted from 1; 0 when it has none.
    State state = Registered; ///< How far the plugin has come.
    QStringList dependencies; ///< The dependency texts in manifest order, "name" or "name:number".
    QStringList services;     ///< The services that the plugin declares, in manifest order.
    QString folder;           ///< The plugin's folder: an absolute path with forward slashes.
    /// Why the plugin is left out of this run, see IPluginMgr::leaveOut(); empty when it takes part.
    QString leftOut;
    /// It should run and does not, for something is wrong: its manifest, its place in the order, its library, its
    /// start, something that it depends on, or the process of its own that has ended. Neither a plugin that nobody has
    /// asked for nor one that is left out has failed.
    bool hasFailed = false;
    /// Why the plugin does not run, for people and on one line: what has failed, as logged; "waits for ..."; that
    /// nobody has asked for it; why it is left out. Of one that has been started, which service it has not registered.
    /// Empty when all is well, and before a start as long as nothing speaks against one.
    QString reason;
};

Q_DECLARE_METATYPE(cPluginInfo::State)

/** @ingroup plugins
 * How a start of the plugins went; a value that may be copied and kept.
 */
struct cStartOutcome
{
    /// How far the start came.
    enum Result {
        NotStarted,      ///< There has been no start, or it is under way.
        Started,         ///< The suite came up. Single plugins may have failed, which does not make a start fail.
        NotPublished,    ///< What is installed cannot be read, or cannot be published.
        NoCore,          ///< The feature "Core" is not among what is installed.
        ManifestsFaulty, ///< A manifest is faulty, has another runtime API version, or declares a service of another.
        NotOrdered,      ///< A dependency is absent or part of a circle: the process is about to end.
        Interrupted,     ///< A stop was asked for during the start and has been made; the suite does not run.
        AlreadyStopped   ///< The suite has been stopped before, and is not started again in this process.
    };

    Result result = NotStarted; ///< How far the start came.
    QStringList reasons;        ///< Why it came no further, as logged, in this order; empty after Started.
};

/** @ingroup plugins
 * Is told when the plugin manager begins and ends one of its longer steps; a host makes its start-up trace from it.
 *
 * The host makes and owns the observer and registers it with IPluginMgr::setObserver(). All calls come from the
 * thread of the plugin manager. Spans nest: a plugin that loads another one from its start has the other's spans
 * inside its own. An observer must not load, start or stop plugins. What it throws is caught and logged.
 */
class IPluginObserver
{
public:
    /// The steps that are told of.
    enum Span {
        ReadManifest, ///< Reading the plugin's Manifest.xml.
        LoadLibrary,  ///< Loading the plugin's library and calling its entry function.
        StartPlugin,  ///< Starting the plugin: search path, translation and IPlugin::start().
        StopPlugin    ///< IPlugin::stop().
    };

    virtual ~IPluginObserver() = default;

    /**
     * A step begins.
     *
     * @param span which step.
     * @param plugin the plugin's name.
     */
    virtual void spanBegin(Span span, const QString& plugin) = 0;

    /**
     * The step that was begun last, and not ended yet, ends. An observer that has been replaced meanwhile is not told.
     *
     * @param span which step.
     * @param plugin the plugin's name.
     * @param ok true when the step succeeded; always true for StopPlugin unless the plugin threw an exception.
     */
    virtual void spanEnd(Span span, const QString& plugin, bool ok) = 0;
};

/** @ingroup plugins
 * What the plugin manager tells of its plugins without being asked. A base class of IPluginMgr, so that the numbers
 * which signals and slots have there stay as they are.
 */
class NORVALE_EXPORT IPluginNotifier : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    /**
     * A plugin has come further, or has fallen back; or it has failed where it was, and cPluginInfo::reason tells why.
     *
     * Emitted in the manager's thread when the step is over: IPluginMgr::plugins() answers as it is now, no lock is
     * held, and no code of the plugin is on the stack but that of a plugin which has asked for this one. A slot may
     * load plugins and ask for a stop, as a plugin's start may. What it throws is caught and logged. Receivers of other
     * threads get it queued.
     *
     * @param name the plugin's name.
     * @param state how far it has come.
     */
    void pluginStateChanged(const QString& name, cPluginInfo::State state);

protected:
    IPluginNotifier() = default;

private:
    Q_DISABLE_COPY(IPluginNotifier)
};

/** @ingroup plugins
 * The plugin manager: knows the installed plugins, orders them by their dependencies, loads, starts and stops them.
 *
 * There is one for each process. `Corvane::initialize` makes it, and it lives until the process ends. A host drives it
 * through `Corvane::setLoadCategories`, `Corvane::startNormal` and `Corvane::stopNormal`; plugins ask it for further
 * plugins:
 *
 * @code
 * if (!IPluginMgr::instance()->loadByService("com.example.spelling"))
 *     context->log().warning() << "no spelling today" << Qt::endl;
 * @endcode
 *
 * It lives in the host's main thread, and all loading, starting and stopping happens there. Other threads may only
 * emit DoLoad() and DoLoadByService(), with a null result pointer: the signals are connected automatically, so they
 * arrive as queued calls. Until StartNormal() has come as far as the connections, the signals do nothing.
 *
 * No function tells its failures by more than its result; the reason is logged, once, to the channel "PluginMgr". Those
 * of a start are kept for lastOutcome(), too, and plugins() tells each plugin's. Before a plugin's library is loaded,
 * and before its start, that channel says "loading Name-1.02.003" and "starting Name-1.02.003": a line that the log
 * file has on disk by then, so that the last one names the plugin of a crash. These are information: a channel that is
 * switched off drops them.
 *
 * The order of the virtual functions, and of the signals and slots in the meta-object, is fixed; what is told by signal
 * beside these stands in IPluginNotifier.
 */
class NORVALE_EXPORT IPluginMgr : public IPluginNotifier
{
    Q_OBJECT

public:
    /// Forgets the instance: instance() answers null from then on.
    ~IPluginMgr() override;

    /**
     * The plugin manager of the process.
     *
     * @return the manager, or null before `Corvane::initialize`. Owned by the framework; may be asked for from any
     *         thread.
     */
    static IPluginMgr* instance();

    /**
     * Loads a plugin, with what it depends on, by emitting DoLoad().
     *
     * @param name the plugin's name; case-sensitive.
     * @return true when the plugin's library is loaded, also when it had been loaded before. False when there is no
     *         such plugin, when it or something that it depends on cannot be loaded or started, before the signals
     *         are connected, and after a stop. A plugin that has failed is tried again, but once only in a start.
     *         Called in another thread than the manager's it queues the request and returns false, since the outcome
     *         is not known yet.
     */
    bool load(const QString& name);

    /**
     * Loads the plugin that provides a service, by emitting DoLoadByService().
     *
     * @param service a service name as the plugins' manifests declare it.
     * @return as load(); false also when no manifest declares the service.
     */
    bool loadByService(const QString& service);

Q_SIGNALS:
    /**
     * Asks for a plugin to be loaded by its name.
     *
     * @param name the plugin's name.
     * @param ok receives the result, as load() returns it; may be null. It must be null when the signal is emitted in
     *        another thread than the manager's, for the call is queued then and the result comes later.
     */
    void DoLoad(QString name, bool* ok);

    /**
     * Asks for the plugin that provides a service to be loaded.
     *
     * @param service the service's name.
     * @param ok receives the result; as in DoLoad().
     */
    void DoLoadByService(QString service, bool* ok);

    /// Asks for a restart. The manager connects it to OnRestart(), which does nothing.
    void DoRestart();

public Q_SLOTS:
    /// Does nothing here; a host that wants a listing of the plugins supplies its own or asks plugins().
    virtual void dumpPlugins() = 0;

    /**
     * Loads a plugin by its name: its dependencies first, in manifest order, then its library, then its start.
     *
     * @param name the plugin's name.
     * @param ok receives the result, as load() returns it; may be null.
     */
    void OnLoad(QString name, bool* ok);

protected:
    /**
     * Loads a plugin by its name; what OnLoad() calls.
     *
     * @param name the plugin's name.
     * @return the result of the load, as load() describes it.
     */
    virtual bool loadPlugin(QString name) = 0;

    /**
     * Looks up which plugin declares a service.
     *
     * @param service the service's name.
     * @return the plugin's name; empty when no manifest that was read declares the service.
     */
    virtual QString pluginOfService(QString service) const = 0;

    /**
     * Loads the plugin that provides a service; what OnLoadByService() calls.
     *
     * @param service the service's name.
     * @return the result of the load, as loadByService() describes it.
     */
    virtual bool loadPluginByService(QString service) = 0;

public Q_SLOTS:
    /**
     * Loads the plugin that provides a service.
     *
     * @param service the service's name.
     * @param ok receives the result, as loadByService() returns it; may be null.
     */
    void OnLoadByService(QString service, bool* ok);

    /// Does nothing here; a host that needs restarts on request connects DoRestart() to a slot of its own.
    virtual void OnRestart() = 0;

public:
    /**
     * Brings the installed plugins up: publishes them, reads their manifests, orders them, connects the signals, and
     * loads "ZentraSettings", each load category in turn and the autoload plugins.
     *
     * Called by `Corvane::startNormal`, and again only after a start that was refused. A plugin that cannot be loaded
     * does not make it fail; it is tried once, and its reason logged once, however many depend on it. A set of plugins
     * that cannot be ordered, because a dependency is absent or because plugins depend on each other in a circle,
     * ends the process with the fatal message "Cannot start under this circumstances."; the reason has been logged.
     *
     * @return false when the installed plugins cannot be published, when the feature "Core" is not installed, when a
     *         manifest is faulty or has another runtime API version than IPlugin::RuntimeApiVersion, when a service is
     *         declared twice, and after a stop. No plugin has been loaded then, and the signals are not connected.
     *         Also when a stop is asked for during the start: it ends after the plugin at hand, and all is stopped.
     */
    virtual bool StartNormal() = 0;

    /**
     * Stops the started plugins in exactly the reverse order of their start; their libraries stay loaded.
     *
     * The service manager refuses new services and listeners from the beginning on, and drops all it has at the end.
     * From then on nothing is loaded or started any more. Asked for while a plugin is being loaded, the stop is made
     * when that has been done. Called once, by `Corvane::stopNormal`; a second call does nothing.
     */
    virtual void StopNormal() = 0;

    /**
     * Finds out what is installed without starting anything: publishes the installed plugins, reads their manifests,
     * and gives each its place in the start order.
     *
     * It goes on over what is faulty, so that one call logs every fault. StartNormal() may follow; it finds out anew,
     * for what is installed may have changed. A plugin that runs keeps what its manifest said when it was loaded.
     *
     * @return true when the installed plugins could be published, every manifest was read without fault and every
     *         plugin could be ordered.
     */
    virtual bool discover() = 0;

    /**
     * The plugins that the installed features name, in the order in which they were registered, each once.
     *
     * What has been installed since the last discover() or StartNormal() is read first.
     *
     * @return empty before discover() or StartNormal().
     */
    virtual QList<cPluginInfo> plugins() const = 0;

    /**
     * Registers the observer that is told of the manager's steps.
     *
     * @param observer not owned; must live until it is replaced. Null, which is the default, costs nothing.
     */
    virtual void setObserver(IPluginObserver* observer) = 0;

    /**
     * How the last StartNormal() went: a host tells the ends of its start apart by it.
     *
     * @return NotStarted before the first start has ended. A message handler that is told of the fatal message of a set
     *         that cannot be ordered is answered NotOrdered.
     */
    virtual cStartOutcome lastOutcome() const = 0;

    /**
     * Sets how the process is guarded against its plugins. Without a call the defaults of cGuardOptions hold.
     *
     * @param options what is wanted; to be set before StartNormal(), since a guard that has begun goes on as it was.
     */
    virtual void setGuard(const cGuardOptions& options) = 0;

    /**
     * Which plugin ended the last run: the process crashed, or was ended, while the plugin was loaded, started or
     * stopped, or a crash handler or the watchdog found the plugin's code running.
     *
     * The run is the last one of this user, application and installation. StartNormal() takes the failure over and logs
     * it as an error; the answer stays until the process ends. Before, the failure is only looked at, so that a host
     * can decide what to leave out: it is told to the next start as well. A run that goes on in another process is none
     * that has ended.
     *
     * @return the step None when there is nothing to tell, and when the guard is switched off.
     */
    virtual cPluginFailure lastFailure() const = 0;

    /**
     * Leaves plugins out of this run, with whatever depends on them, directly or by way of others.
     *
     * A plugin that is left out is known, but has no place in the start order and is not loaded, not even on request;
     * its manifest may be faulty, and its services do not exist. What is installed, the catalogue, the settings and
     * the plugin's files stay as they are. plugins() tells each with its reason, cPluginInfo::leftOut.
     *
     * @param plugins the names; case-sensitive. They replace those of an earlier call. A name that no installed plugin
     *        has is logged as a warning when the plugins are read. To be set before discover() or StartNormal(); a
     *        plugin whose library is loaded stays.
     */
    virtual void leaveOut(const QStringList& plugins) = 0;

protected:
    /// Makes this object the process's plugin manager, and registers `bool*` and `cPluginInfo::State` with the
    /// meta-type system.
    IPluginMgr();

private:
    Q_DISABLE_COPY(IPluginMgr)
};
