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

} // namespace

#define ACQUIRES(FUNCTION, SYMBOL)                                                                                     \
    void FUNCTION()                                                                                                    \
    {                                                                                                                  \
        static const auto call = original<void (*)(void*)>(SYMBOL);                                                    \
        call(this);                                                                                                    \
        __tsan_acquire(this);                                                                                          \
    }
#define TRIES(FUNCTION, SYMBOL)                                                                                        \
    bool FUNCTION(int milliseconds)                                                                                    \
    {                                                                                                                  \
        static const auto call = original<bool (*)(void*, int)>(SYMBOL);                                               \
        const bool isLocked = call(this, milliseconds);                                                                \
        if (isLocked)                                                                                                  \
            __tsan_acquire(this);                                                                                      \
        return isLocked;                                                                                               \
    }
#define RELEASES(FUNCTION, SYMBOL)                                                                                     \
    void FUNCTION()                                                                                                    \
    {                                                                                                                  \
        static const auto call = original<void (*)(void*)>(SYMBOL);                                                    \
        __tsan_release(this);                                                                                          \
        call(this);                                                                                                    \
    }

// QMutex: lock, unlock and tryLock are functions of the library; QBasicMutex (used by QMutexLocker in inline code)
// reaches it only on the slow way.
ACQUIRES(QMutex::lock, "_ZN6QMutex4lockEv")
TRIES(QMutex::tryLock, "_ZN6QMutex7tryLockEi")
RELEASES(QMutex::unlock, "_ZN6QMutex6unlockEv")
ACQUIRES(QReadWriteLock::lockForRead, "_ZN14QReadWriteLock11lockForReadEv")
ACQUIRES(QReadWriteLock::lockForWrite, "_ZN14QReadWriteLock12lockForWriteEv")
TRIES(QReadWriteLock::tryLockForRead, "_ZN14QReadWriteLock14tryLockForReadEi")
TRIES(QReadWriteLock::tryLockForWrite, "_ZN14QReadWriteLock15tryLockForWriteEi")
RELEASES(QReadWriteLock::unlock, "_ZN14QReadWriteLock6unlockEv")
