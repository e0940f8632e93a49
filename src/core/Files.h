#pragma once

class QByteArray;
class QFileDevice;
class QString;

// Changes of the disk that survive a power cut. Any thread.

/// Makes @p bytes the content of the file at @p path: they are written to a file beside it, flushed, and renamed over
/// it, and the folder is flushed. A reader, and whoever comes after a crash, meets the old content or the new one,
/// never a part. Missing parent folders are made.
/// @return false when that failed: what was at @p path is untouched, nothing is left beside it, and @p error (which may
///         be null) names the path and the cause.
[[nodiscard]] bool replaceFile(const QString& path, const QByteArray& bytes, QString* error);

/// Where nothing can take the place of a file that somebody has open, waits until nobody has the file at @p path open
/// any more. Scanners and readers are gone in a moment; who stays longer than two seconds is not waited for.
void waitUntilReplaceable(const QString& path);

/// Writes what the open @p file holds to the disk. @return false when the system refuses.
[[nodiscard]] bool flushFile(QFileDevice& file);

/// Writes the entries of the folder at @p path (what has been made, renamed and removed in it) to the disk. Does
/// nothing where the system keeps folders by itself. @return false when the system refuses.
bool flushFolder(const QString& path);
