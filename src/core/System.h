#pragma once

class QString;

/// The "InstallDir" record as the installer wrote it, with native separators; empty when there is none.
QString installRecord();
