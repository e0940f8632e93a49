#include "guard/cGuardFile.h"

#include <io.h>
#include <qt_windows.h>

// A locked part of a file can be read and written by nobody else, so it lies behind what is read to look at the slot.
bool cGuardFile::tryLock(const QFile& file)
{
    OVERLAPPED place = {};
    place.Offset = 1 << 20;
    return LockFileEx(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle())),
                      LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place);
}
