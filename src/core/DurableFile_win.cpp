#include "core/DurableFile.h"

#include <QtCore/QFileDevice>
#include <QtCore/QFileInfo>

#include <io.h>
#include <windows.h>

bool flushFile(QFileDevice& file)
{
    return file.flush() && FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle())));
}

bool flushFolder(const QString& path)
{
    return QFileInfo(path).isDir(); // NTFS keeps the entries of a folder in its journal
}
