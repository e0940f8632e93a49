#pragma once

#include "disk/WholeFiles.h"

class QDir;
class cPluginId;

namespace Corvane {

/// The folder that the plugin @p id has when it is installed, whether or not it exists.
QDir pluginDir(const cPluginId& id);

} // namespace Corvane

// What each system does in its own way: System_unix.cpp and System_win.cpp.

/// The "InstallDir" record as the installer wrote it, with native separators; empty when there is none.
QString installRecord();

/// Where that record stands, for people.
QString installRecordPlace();
