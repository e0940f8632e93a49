#pragma once

#include "disk/WholeFiles.h"

class QDir;
class cPluginId;

namespace Corvane {

/// The folder that the plugin @p id has when it is installed, whether or not it exists.
QDir pluginDir(const cPluginId& id);

} // namespace Corvane
