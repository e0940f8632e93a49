#pragma once

class QString;

/// Whether @p name, which may come from anywhere, names a file or folder inside whatever folder it is joined with, on
/// every system that the library runs on, and the same one whoever reads it. So it is not empty, has no "/", "\\", ":",
/// "..", control character, or other character that a system forbids, does not end in a point or space, is no name of
/// a device such as "NUL" or "com1.txt", and is no longer than file systems take. Any thread.
[[nodiscard]] bool isSafeFileName(const QString& name);

/// The same text for all names, or paths, that are one where upper and lower case are the same. What differs in case
/// only is refused on every system: it could not be had side by side on some.
[[nodiscard]] QString caselessFileName(const QString& name);
