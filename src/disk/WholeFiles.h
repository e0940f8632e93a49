#pragma once

#include <QtCore/QSaveFile>
#include <QtCore/QString>

class QByteArray;

// Whole files, read and written so that nothing is lost on the way. Any thread.

/// Whether nothing stands at @p path. What cannot be looked at, and a link that leads nowhere, is not absent.
[[nodiscard]] bool isAbsent(const QString& path);

/// Reads the file at @p path whole into @p bytes. A folder, a pipe or a device is refused at once instead of waited
/// for.
/// @return false when it cannot be read; @p reason (which may be null) then says why, without the path.
[[nodiscard]] bool readFile(const QString& path, QByteArray& bytes, QString* reason);

/// Makes the folder @p path, and its parents, where they are missing.
/// @return false when that failed; @p error then names the folder and the cause.
[[nodiscard]] bool makeFolder(const QString& path, QString* error);

/// Makes @p bytes the content of the file at @p path, in a way that survives a power cut: they are written to a file
/// beside it, flushed, and renamed over it, and the folder is flushed. A reader, and whoever comes after a crash, meets
/// the old content or the new one, never a part. Missing parent folders are made.
/// @return false when that failed: what was at @p path is untouched, nothing is left beside it, and @p error (which may
///         be null) names the path and the cause.
[[nodiscard]] bool replaceFile(const QString& path, const QByteArray& bytes, QString* error);

/// Moves the file @p from over whatever file is at @p to, in one step; both lie on one file system.
/// @return false when that failed: both are as they were, and @p error names @p to and the cause.
[[nodiscard]] bool moveOver(const QString& from, const QString& to, QString* error);

/// Moves the folder @p from to @p to, where nothing is, in one step; both lie on one file system.
/// @return false when that failed: @p from is where it was, and @p error names both and the cause.
[[nodiscard]] bool moveFolder(const QString& from, const QString& to, QString* error);

/// The same as replaceFile() in two halves.
class cReplacement
{
public:
    explicit cReplacement(const QString& path) : m_file(path) {}

    /// Writes @p bytes to the file beside, and flushes it. @return why that failed; empty when it did not.
    [[nodiscard]] QString write(const QByteArray& bytes);

    /// The same in steps: what file() is given between the two is written. @return as above.
    [[nodiscard]] QString open();
    [[nodiscard]] QString flush();

    /// What commit() will put in place.
    QFileDevice& file() { return m_file; }

    /// Puts the file in place. @return as above.
    [[nodiscard]] QString commit();

private:
    QSaveFile m_file; // removes what it wrote when it is not committed
};

/// Why the last write, flush or other call for @p file failed, as causeOfSystem().
QString causeOf(const QFileDevice& file);

/// What the system says of a call that would have written at @p path, by default of the last call that failed. A full
/// disk, a read-only one and a lack of rights are told in words that name the folder, all else in the system's.
QString causeOfSystem(const QString& path, const QString& said = qt_error_string());

// What each system does in its own way: System_unix.cpp and System_win.cpp.

/// The ways in which a system refuses to write that a user can do something about.
enum class DiskRefusal { Other, Full, ReadOnly, Forbidden };

/// Which of them @p said, a text of the system, tells.
DiskRefusal diskRefusalOf(const QString& said);

/// Where nothing can take the place of a file that somebody has open, waits until nobody has the file at @p path open
/// any more. Scanners and readers are gone in a moment; who stays longer than two seconds is not waited for.
void waitUntilReplaceable(const QString& path);

/// Writes what the open @p file holds to the disk. @return false when the system refuses.
[[nodiscard]] bool flushFile(QFileDevice& file);

/// Has the system begin to write @p count bytes from @p from on of the open @p file to the disk, and does not wait; so
/// a flush at the end has less to do. Does nothing where the system has no such call.
void beginWriteBack(QFileDevice& file, qint64 from, qint64 count);

/// Writes the entries of the folder at @p path (what has been made, renamed and removed in it) to the disk. Does
/// nothing where the system keeps folders by itself. @return false when the system refuses.
bool flushFolder(const QString& path);

// Bringing many new files to the disk: each by itself, or all of them at the end, whichever the system does better.

/// To be called for each file that has been written, while it is open. @return false when the system refuses.
[[nodiscard]] bool flushNewFile(QFileDevice& file);

/// To be called once after the last file below @p folder. When it is true, all files and folders made there are on the
/// disk.
[[nodiscard]] bool flushNewFiles(const QString& folder);

/// Removes the folder at @p path (absolute) if it is empty. Where a program that has just ended can hold its working
/// folder a moment longer, that moment is waited for. @return false when it is not empty, in use, or not to be removed.
bool removeEmptyFolder(const QString& path);
