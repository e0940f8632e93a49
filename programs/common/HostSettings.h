#pragma once

#include <QtCore/QStringList>

#include <functional>

/// The program's own settings: those of organisation and application as it has named itself. They are read with
/// QSettings, and written here.
namespace HostSettings {

/**
 * Changes the list of texts under @p key, and removes the key with the last of them. The file is replaced whole or not
 * at all, as the library does with its own settings. Two processes that change a list at a time do so one after the
 * other.
 *
 * @param lockFile absolute path of the lock file that all of them take.
 * @param change is given the list as it stands, for it to change; none is written when it does not.
 * @return false when that failed; all is then as it was, and @p error names the place and the cause.
 */
[[nodiscard]] bool changeList(const QString& key, const QString& lockFile,
                              const std::function<void(QStringList&)>& change, QString* error);

} // namespace HostSettings

/// The settings that all hosts of the machine have in common. To write them needs the rights of root or an
/// administrator.
namespace MachineSettings {

/// The installation folder that is set, as it stands there; empty when none is.
QString installDir();

/// Where that stands, for people.
QString installDirPlace();

/// Why @p folder can be no installation folder; empty when it can: it has plugins, or a Bootstrap folder to install
/// them from.
QString installDirFault(const QString& folder);

/// Sets the installation folder to @p folder, an absolute path.
/// @return false when that failed; what was set stays, and @p error names the place, the cause, and who may write
/// there.
[[nodiscard]] bool setInstallDir(const QString& folder, QString* error);

} // namespace MachineSettings
