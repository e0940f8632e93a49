#pragma once

#include <Norvale/NorvaleGlobal.h>

class IPluginContext;

/** @ingroup plugins
 * The object that stands for a running plugin: what a plugin library's entry function returns.
 *
 * A plugin is a shared library in a folder of its own, described by the file `Manifest.xml` in that folder. The
 * manifest names the library and its entry function, which takes no arguments and returns the plugin object:
 *
 * @code
 * class cHello : public IPlugin
 * {
 * public:
 *     bool start(IPluginContext* context) override { return true; }
 *     void stop(IPluginContext* context) override {}
 * };
 *
 * extern "C" Q_DECL_EXPORT IPlugin* createHello()
 * {
 *     static cHello hello;
 *     return &hello;
 * }
 * @endcode
 *
 * The plugin owns its object and keeps it alive as long as its library is loaded; the framework neither owns nor
 * deletes it. Every call comes from the host's main thread.
 *
 * The order of the virtual functions is fixed, and there is no virtual destructor before them: libraries built by
 * other compilers rely on start being the first operation and stop the second.
 */
class IPlugin
{
public:
    /**
     * The version of the plugin interface of this framework build.
     *
     * A manifest must give exactly this number as its `runtime_api_version`; it is compared for equality, not as a
     * minimum, and any other number keeps the whole suite from starting.
     */
    static constexpr int RuntimeApiVersion = 13;

    /**
     * Starts the plugin; called once, after its dependencies have been started and its library has been loaded.
     *
     * The plugin's own files can be addressed with its name and a colon as prefix ("Hello:data.xml"), and its
     * translation for the current locale is installed, before this is called. This is the place to register services
     * and listeners. It may ask the plugin manager for further plugins.
     *
     * @param context what the plugin may learn about itself; valid until the end of the process.
     * @return true when the plugin runs. On false its library is unloaded. Services, listeners, message handlers, log
     *         hooks and an observer that are left registered are withdrawn; all else that points into the library, such
     *         as timers and connections, must have been ended before. An exception counts as false and is logged.
     */
    virtual bool start(IPluginContext* context) = 0;

    /**
     * Stops the plugin; called in exactly the reverse order of the starts, with the context given to start().
     *
     * Calls of services and events still work while plugins stop. The library stays loaded afterwards. An exception
     * is caught and logged.
     *
     * @param context the context that start() was given.
     */
    virtual void stop(IPluginContext* context) = 0;

protected:
    /// Not virtual and not for the framework: the plugin itself disposes of its object.
    ~IPlugin() = default;
};
