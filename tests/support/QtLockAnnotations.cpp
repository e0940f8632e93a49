// Tells the thread sanitizer about Qt's locks. Qt is not built with the sanitizer, so it cannot see that what happened
// before an unlock happened before the next lock. These definitions stand before Qt's in the look-up order, call them,
// and say so. Linked into the test programs of the thread sanitizer build only.

#include <QtCore/QMutex>
#include <QtCore/QReadWriteLock>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

template <typename Function>
Function original(const char* symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

using VoidCall = void (*)(void*);
using TimedCall = bool (*)(void*, int);

void acquireAfter(VoidCall call, void* lock)
{
    call(lock);
    __tsan_acquire(lock);
}

bool acquireAfter(TimedCall call, void* lock, int milliseconds)
{
    const bool isLocked = call(lock, milliseconds);
    if (isLocked)
        __tsan_acquire(lock);
    return isLocked;
}

void releaseBefore(VoidCall call, void* lock)
{
    __tsan_release(lock);
    call(lock);
}

} // namespace

// QMutex: lock, unlock and tryLock are functions of the library; QBasicMutex (used by QMutexLocker in inline code)
// reaches it only on the slow way.
void QMutex::lock()
{
    static const auto call = original<VoidCall>("_ZN6QMutex4lockEv");
    acquireAfter(call, this);
}

void QMutex::unlock()
{
    static const auto call = original<VoidCall>("_ZN6QMutex6unlockEv");
    releaseBefore(call, this);
}

bool QMutex::tryLock(int milliseconds)
{
    static const auto call = original<TimedCall>("_ZN6QMutex7tryLockEi");
    return acquireAfter(call, this, milliseconds);
}

void QReadWriteLock::lockForRead()
{
    static const auto call = original<VoidCall>("_ZN14QReadWriteLock11lockForReadEv");
    acquireAfter(call, this);
}

void QReadWriteLock::lockForWrite()
{
    static const auto call = original<VoidCall>("_ZN14QReadWriteLock12lockForWriteEv");
    acquireAfter(call, this);
}

bool QReadWriteLock::tryLockForRead(int milliseconds)
{
    static const auto call = original<TimedCall>("_ZN14QReadWriteLock14tryLockForReadEi");
    return acquireAfter(call, this, milliseconds);
}

bool QReadWriteLock::tryLockForWrite(int milliseconds)
{
    static const auto call = original<TimedCall>("_ZN14QReadWriteLock15tryLockForWriteEi");
    return acquireAfter(call, this, milliseconds);
}

void QReadWriteLock::unlock()
{
    static const auto call = original<VoidCall>("_ZN14QReadWriteLock6unlockEv");
    releaseBefore(call, this);
}
