#include "guard/cGuardFile.h"

#include <cerrno>
#include <sys/file.h>

// This lock is that of the open file and ends with it. A lock of the process would be lost as soon as the process
// closes the same file anywhere.
bool cGuardFile::tryLock(const QFile& file)
{
    int result;
    do
        result = ::flock(file.handle(), LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    return result == 0;
}
