#include "disk/WholeFiles.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QString>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Calls @p flush with a handle of the folder at @p path. @return false when the system refuses.
bool flushWith(int (*flush)(int), const QString& path)
{
    const int folder = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return false;
    const bool isFlushed = flush(folder) == 0;
    ::close(folder);
    return isFlushed;
}

} // namespace

bool keepsItsFile(const QSettings& store)
{
    return store.format() == QSettings::NativeFormat || store.format() == QSettings::IniFormat;
}

DiskRefusal diskRefusalOf(const QString& said)
{
    if (said == qt_error_string(ENOSPC) || said == qt_error_string(EDQUOT))
        return DiskRefusal::Full;
    if (said == qt_error_string(EROFS))
        return DiskRefusal::ReadOnly;
    return said == qt_error_string(EACCES) || said == qt_error_string(EPERM) ? DiskRefusal::Forbidden
                                                                             : DiskRefusal::Other;
}

void waitUntilReplaceable(const QString&) {}

bool flushFile(QFileDevice& file)
{
    return file.flush() && ::fsync(file.handle()) == 0;
}

bool flushFolder(const QString& path)
{
    return flushWith(::fsync, path);
}

bool removeEmptyFolder(const QString& path)
{
    return QDir().rmdir(path);
}

#ifdef Q_OS_LINUX

void beginWriteBack(QFileDevice& file, qint64 from, qint64 count)
{
    ::sync_file_range(file.handle(), from, count, SYNC_FILE_RANGE_WRITE);
}

// One flush of the whole file system takes a fifth of the time of one for each of 800 small files: the files and their
// folders reach the disk in few large writes.

bool flushNewFile(QFileDevice&)
{
    return true;
}

bool flushNewFiles(const QString& folder)
{
    return flushWith(::syncfs, folder);
}

#else

void beginWriteBack(QFileDevice&, qint64, qint64) {}

bool flushNewFile(QFileDevice& file)
{
    return flushFile(file);
}

bool flushNewFiles(const QString& folder)
{
    bool isFlushed = flushFolder(folder);
    QDirIterator folders(folder, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks,
                         QDirIterator::Subdirectories);
    while (folders.hasNext())
        isFlushed = flushFolder(folders.next()) && isFlushed;
    return isFlushed;
}

#endif
