#pragma once

#include <QtCore/QString>

#include <memory>

class cPluginId;

/**
 * A plugin that runs in a process of its own, as its record sees it: what the record does to a library that it has
 * loaded itself is done here to the one over there.
 *
 * A destroyed object ends the process. Main thread only.
 */
class IPluginProcess
{
public:
    virtual ~IPluginProcess() = default;

    /// Starts the process and has it load the plugin's library and make the plugin object.
    [[nodiscard]] virtual bool load() = 0;

    /// Has it start the plugin object. When the process ends later without having been asked to, that is not told here.
    [[nodiscard]] virtual bool start() = 0;

    /// Has it stop the plugin object, and ends the process. False when the stop went wrong.
    virtual bool stop() = 0;

    /// Why the process is not there between start() and stop(); empty when it is. As a sentence that begins with the
    /// plugin's id.
    virtual QString whyDown() const = 0;

    /// Why the last function that returned false did so, as a sentence that goes on after the plugin's id and a colon.
    virtual QString errorString() const = 0;
};

/// Makes them.
class IPluginProcesses
{
public:
    virtual ~IPluginProcesses() = default;

    /// @p folder is the plugin's, which has a Manifest.xml.
    virtual std::unique_ptr<IPluginProcess> make(const cPluginId& id, const QString& folder) = 0;
};
