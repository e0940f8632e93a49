#include "install/EmptyFolder.h"

#include <QtCore/QDir>

#include <windows.h>

bool removeEmptyFolder(const QString& path)
{
    const QString nativePath = QDir::toNativeSeparators(path);
    // Command lines run in the plugin's folder; scanners, too, look at what is new for a moment.
    for (int tries = 0; tries < 40; ++tries) {
        if (RemoveDirectoryW(reinterpret_cast<const wchar_t*>(nativePath.utf16())))
            return true;
        if (GetLastError() != ERROR_SHARING_VIOLATION)
            return false;
        Sleep(50);
    }
    return false;
}
