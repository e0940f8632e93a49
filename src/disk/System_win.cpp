#include "disk/WholeFiles.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFileDevice>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include <io.h>
#include <string>
#include <windows.h>

namespace {

/// How often, and after how many milliseconds each, something that is in use is tried again: for two seconds.
constexpr int Tries = 40;
constexpr DWORD Pause = 50;

/// @p path, which is absolute, in the form that the system takes beyond 260 characters, too. Qt's own classes use it,
/// so what they can make, calls of the system must be able to reach.
std::wstring longPath(const QString& path)
{
    const QString native = QDir::toNativeSeparators(path);
    const bool isShare = native.startsWith(QLatin1String("\\\\"));
    const QString name = isShare ? QLatin1String("\\\\?\\UNC") + native.mid(1) : QLatin1String("\\\\?\\") + native;
    return name.toStdWString();
}

} // namespace

bool keepsItsFile(const QSettings& store)
{
    return store.format() == QSettings::IniFormat; // the system's own format is the registry
}

// That access is denied may also mean that somebody has the file open.
DiskRefusal diskRefusalOf(const QString& said)
{
    if (said == qt_error_string(ERROR_DISK_FULL) || said == qt_error_string(ERROR_HANDLE_DISK_FULL))
        return DiskRefusal::Full;
    return said == qt_error_string(ERROR_WRITE_PROTECT) ? DiskRefusal::ReadOnly : DiskRefusal::Other;
}

void waitUntilReplaceable(const QString& path)
{
    const std::wstring name = longPath(QFileInfo(path).absoluteFilePath());
    for (int tries = 0; tries < Tries; ++tries) {
        // Opened for removal it is refused as it would be replaced.
        const HANDLE file = CreateFileW(name.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS /* for folders */, nullptr);
        if (file != INVALID_HANDLE_VALUE)
            CloseHandle(file);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION)
            return;
        Sleep(Pause);
    }
}

bool flushFile(QFileDevice& file)
{
    return file.flush() && FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle())));
}

void beginWriteBack(QFileDevice&, qint64, qint64) {}

bool flushFolder(const QString& path)
{
    return QFileInfo(path).isDir(); // NTFS keeps the entries of a folder in its journal
}

bool flushNewFile(QFileDevice& file)
{
    return flushFile(file);
}

bool flushNewFiles(const QString& folder)
{
    return flushFolder(folder);
}

bool removeEmptyFolder(const QString& path)
{
    const std::wstring name = longPath(path);
    // Command lines run in the plugin's folder. Scanners, too, look at what is new for a moment, and what is removed
    // meanwhile stays until they are done.
    for (int tries = 0; tries < Tries; ++tries) {
        if (RemoveDirectoryW(name.c_str()))
            return true;
        const DWORD reason = GetLastError();
        const DWORD attributes = GetFileAttributesW(name.c_str());
        if (reason == ERROR_ACCESS_DENIED && attributes != INVALID_FILE_ATTRIBUTES &&
            (attributes & FILE_ATTRIBUTE_READONLY))
            SetFileAttributesW(name.c_str(), attributes & ~DWORD(FILE_ATTRIBUTE_READONLY));
        else if (reason == ERROR_SHARING_VIOLATION || reason == ERROR_DIR_NOT_EMPTY)
            Sleep(Pause);
        else
            return false;
    }
    return false;
}
