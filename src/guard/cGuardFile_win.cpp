#include "guard/cGuardFile.h"

#include <QtCore/QDateTime>

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

// The system has no name for it, but the time.
QByteArray cGuardFile::bootId()
{
    return QByteArray::number(QDateTime::currentSecsSinceEpoch() - qint64(GetTickCount64() / 1000));
}

// A clock is set meanwhile, by seconds as a rule; and no machine is started twice in a minute.
bool cGuardFile::isSameBoot(const QByteArray& one, const QByteArray& other)
{
    constexpr qint64 Tolerance = 60; // seconds
    return qAbs(one.toLongLong() - other.toLongLong()) < Tolerance;
}
