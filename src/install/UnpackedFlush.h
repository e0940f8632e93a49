#pragma once

class QFileDevice;
class QString;

// Bringing many new files to the disk: each by itself, or all of them at the end, whichever the system does better.

/// Called for each file that has been written, while it is open. @return false when the system refuses.
[[nodiscard]] bool flushUnpackedFile(QFileDevice& file);

/// Called once after the last file below @p folder. When it is true, all files and folders made there are on the disk.
[[nodiscard]] bool flushUnpackedFolder(const QString& folder);
