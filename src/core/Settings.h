#pragma once

#include <QtCore/QSettings>

// The settings stores and keys of the library, named once. The switches of the log channels are the log room's own.

/// The machine-wide product settings.
class cMachineSettings : public QSettings
{
public:
    cMachineSettings() : QSettings(QSettings::SystemScope, QStringLiteral("Varkel"), QStringLiteral("Pelmora")) {}
};

/// The host application's own settings, under the names that the host has set on its application object.
class cHostSettings : public QSettings
{
};

/// Keys of the two stores, to be wrapped in QLatin1String.
namespace SettingsKey {

// Machine-wide product settings.
constexpr char InstallDir[] = "InstallDir";                         // Path with native separators, no default.
constexpr char RepositoryVersion[] = "ConfigMgr/RepositoryVersion"; // Version text, default "0.00.000".
constexpr char RepositoryName[] = "ConfigMgr/RepositoryName";       // String, no default.
constexpr char RepositoryStatus[] = "ConfigMgr/RepositoryStatus";   // String, default "release".
constexpr char RuntimeVersion[] = "ConfigMgr/RuntimeVersion";       // Version text, none means 0.0.0.
constexpr char Locale[] = "ConfigMgr/Locale";                       // String such as "en_US", default empty.
constexpr char Region[] = "ConfigMgr/Region";                       // String, default "varkel".
constexpr char MaxUnpackedSize[] = "InstallMgr/MaxUnpackedSize";    // Bytes of a package, default 2 GiB.
constexpr char MaxRatio[] = "InstallMgr/MaxRatio";                  // Unpacked to packed size, default 200.

constexpr char IsolatedCallLimit[] = "PluginMgr/IsolatedCallSeconds"; // Seconds for an answer, default 30.

constexpr char LeastRate[] = "UpdateMgr/LeastRate"; // Bytes a second of a transfer, default 100, 0 for none.
constexpr char TransfersPerHost[] = "UpdateMgr/TransfersPerHost"; // Transfers at a time, 1 to 6, default 6.

constexpr char TrustRoot[] = "Trust/Root"; // Text of the pinned root metadata, no default.

// Host settings.
constexpr char RestartOption[] = "ConfigMgr/RestartOption";     // Integer, default 0.
constexpr char RestartFilename[] = "ConfigMgr/RestartFilename"; // String, default empty.
constexpr char UpdateLocations[] = "UpdateMgr/Locations";       // A group with one entry for each update location.

} // namespace SettingsKey
