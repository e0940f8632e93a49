#pragma once

class QString;

/**
 * What the plugin manager needs to be told about the installed features. The configuration manager implements it, and
 * start-up hands it over, so that this room need not know the room above.
 */
class IInstalledPlugins
{
public:
    virtual ~IInstalledPlugins() = default;

    /// Brings the installed features up to date, then clears the plugin manager's allowed set and registers each plugin
    /// of each feature with it. On false the reason has been logged.
    virtual bool publishInstalledPlugins() = 0;

    /// @return true when a feature of that name is installed, as of the last publication.
    virtual bool isFeatureInstalled(const QString& name) const = 0;
};
