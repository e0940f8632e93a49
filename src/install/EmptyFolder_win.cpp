#include "install/EmptyFolder.h"

#include "core/LongPath_win.h"

#include <windows.h>

bool removeEmptyFolder(const QString& path)
{
    const std::wstring name = longPath(path);
    // Command lines run in the plugin's folder; scanners, too, look at what is new for a moment, and what was removed
    // while they looked at it stays until they are done.
    for (int tries = 0; tries < 40; ++tries) {
        if (RemoveDirectoryW(name.c_str()))
            return true;
        const DWORD reason = GetLastError();
        const DWORD attributes = GetFileAttributesW(name.c_str());
        if (reason == ERROR_ACCESS_DENIED && attributes != INVALID_FILE_ATTRIBUTES &&
            (attributes & FILE_ATTRIBUTE_READONLY))
            SetFileAttributesW(name.c_str(), attributes & ~DWORD(FILE_ATTRIBUTE_READONLY));
        else if (reason == ERROR_SHARING_VIOLATION || reason == ERROR_DIR_NOT_EMPTY)
            Sleep(50);
        else
            return false;
    }
    return false;
}
