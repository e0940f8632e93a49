#include "services/cServiceCache.h"

#include <QtCore/QThreadStorage>

// MinGW's thread_local objects are destroyed when their memory is gone already; what Qt keeps for a thread is not. A
// cache that is made anew while the thread ends is destroyed with the rest.

namespace {

QThreadStorage<cServiceCache*>& caches()
{
    static QThreadStorage<cServiceCache*> storage;
    return storage;
}

} // namespace

cServiceCache* cServiceCache::ofThread()
{
    cServiceCache*& cache = caches().localData();
    if (!cache)
        cache = new cServiceCache;
    return cache;
}

cServiceCache::~cServiceCache() = default;
