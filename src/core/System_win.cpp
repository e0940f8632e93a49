#include "core/DurableFile.h"

#include "core/LongPath_win.h"

#include <QtCore/QFileDevice>
#include <QtCore/QFileInfo>

#include <io.h>
#include <windows.h>

void waitUntilReplaceable(const QString& path)
{
    const std::wstring name = longPath(QFileInfo(path).absoluteFilePath());
    for (int tries = 0; tries < 40; ++tries) {
        // Opened for removal it is refused as it would be replaced.
        const HANDLE file = CreateFileW(name.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, 0, nullptr);
        if (file != INVALID_HANDLE_VALUE)
            CloseHandle(file);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION)
            return;
        Sleep(50);
    }
}

bool flushFile(QFileDevice& file)
{
    return file.flush() && FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle())));
}

bool flushFolder(const QString& path)
{
    return QFileInfo(path).isDir(); // NTFS keeps the entries of a folder in its journal
}
