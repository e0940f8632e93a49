#pragma once

class QByteArray;
class QDir;
class QString;
class cPluginId;

// What the library needs of files and folders beside the exported functions. Any thread.

namespace Corvane {

/// The folder that the plugin @p id has when it is installed, whether or not it exists.
QDir pluginDir(const cPluginId& id);

} // namespace Corvane

/// Makes @p bytes the content of the file at @p path, in a way that survives a power cut: they are written to a file
/// beside it, flushed, and renamed over it, and the folder is flushed. A reader, and whoever comes after a crash, meets
/// the old content or the new one, never a part. Missing parent folders are made.
/// @return false when that failed: what was at @p path is untouched, nothing is left beside it, and @p error (which may
///         be null) names the path and the cause.
[[nodiscard]] bool replaceFile(const QString& path, const QByteArray& bytes, QString* error);
