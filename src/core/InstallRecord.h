#pragma once

#include <QtCore/QString>

// The record of the installation folder, "InstallDir" in the settings of the machine. Each system has it in its own
// place: InstallRecord_unix.cpp and InstallRecord_win.cpp. Any thread.

/// The record as the installer wrote it, with native separators; empty when there is none.
QString installRecord();

/// Where the record stands, for people.
QString installRecordPlace();

/// Makes @p folder (absolute) the record of this machine.
/// @return false when that failed: the record is as it was, and @p error names the place, the cause, and who may write
/// there.
[[nodiscard]] bool writeInstallRecord(const QString& folder, QString* error);
