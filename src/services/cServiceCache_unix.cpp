#include "services/cServiceCache.h"

namespace {

/// Outlives the cache, as nothing destroys it.
thread_local bool s_isCacheGone = false;

} // namespace

cServiceCache* cServiceCache::ofThread()
{
    static thread_local cServiceCache cache;
    return s_isCacheGone ? nullptr : &cache;
}

cServiceCache::~cServiceCache()
{
    s_isCacheGone = true;
}
