#pragma once

#include <Norvale/NorvaleGlobal.h>

class QString;
class cJsonValue;
class cLog;

/** @ingroup plugins
 * What a started plugin may learn about itself.
 *
 * The framework makes one context for each plugin, owns it, and hands it to IPlugin::start() and IPlugin::stop(). It
 * stays valid until the end of the process, so a plugin may keep the pointer. Use it from the host's main thread; the
 * values that it hands out are copies and may travel to other threads.
 *
 * The order of the virtual functions is fixed: the destructor, then name(), params() and log().
 */
class IPluginContext
{
public:
    /// Contexts are destroyed by the framework alone.
    virtual ~IPluginContext() = default;

    /**
     * The plugin's name, as the installed features give it.
     *
     * @return the name; never empty for a plugin that was installed properly.
     */
    virtual QString name() const = 0;

    /**
     * The plugin's parameters: the JSON document in the element `params` of its manifest.
     *
     * @return a copy of the value; null when the manifest has no `params`.
     */
    virtual cJsonValue params() const = 0;

    /**
     * The log channel of the plugin, which bears the plugin's name.
     *
     * @return a handle that may be copied and kept, and used from any thread.
     */
    virtual cLog log() const = 0;
};
