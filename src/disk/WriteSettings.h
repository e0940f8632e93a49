#pragma once

#include <QtCore/QMap>
#include <QtCore/QSettings>
#include <QtCore/QString>
#include <QtCore/QVariant>

/// What becomes of keys, each whole, with "/" between its parts: the new value, or an invalid one for what is removed,
/// and with a group all below it. Removals come first.
using SettingsChanges = QMap<QString, QVariant>;

/**
 * Makes @p changes to the file or registry behind @p store, all of them or none; this is how the library writes all its
 * settings. QSettings by itself leaves an empty file when the disk is full, and says that all is well.
 *
 * The changed file is written beside the old one, flushed, put in its place and read back. What others write meanwhile,
 * QSettings included, is not lost. Nothing is written when all is so already.
 *
 * Any thread. Not within a group or array of @p store. What @p store has not written by itself yet comes along.
 * @return false when that failed; all is then as it was, and @p error (which may be null) names the place and the
 * cause.
 */
[[nodiscard]] bool writeSettings(QSettings& store, const SettingsChanges& changes, QString* error);

/// Whether @p store stands in a file that can be replaced: System_unix.cpp and System_win.cpp.
bool keepsItsFile(const QSettings& store);
