#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

struct cPluginInfo;

/**
 * Which plugins take no part in a run, and what a start does about the one that ended the last run.
 *
 * The list "Plugins/Disabled" in the host's own settings names those that no run starts. The installed catalogue and
 * what belongs to the plugins stay as they are.
 */
namespace PluginChoice {

/// What the command line of a run says about plugins.
struct Options
{
    QStringList categories; // load categories
    QStringList without;    // names that are left out, beside those that are disabled
    bool isSafe = false;    // only the settings, what is named "Core", and what these need
    bool isGuarded = true;  // the last failure is looked at, and this run is watched
};

/// The names in @p words, each of which may hold several with commas between.
QStringList namesIn(const QStringList& words);

/// The names of the plugins that @p plugin depends on.
QStringList dependenciesOf(const cPluginInfo& plugin);

/// The plugins that are disabled.
QStringList disabled();

/// Disables plugins or enables them again, from the next start on. @return false when the settings cannot be written;
/// @p error then tells why.
[[nodiscard]] bool disable(const QStringList& names, QString* error);
[[nodiscard]] bool enable(const QStringList& names, QString* error);

/**
 * Tells IPluginMgr, which must have been made, how the start that comes is guarded and what is left out of it. The
 * failure of the last run is told on the terminal; a plugin that has failed more than once in a row is disabled.
 */
void prepareStart(const Options& options);

} // namespace PluginChoice
