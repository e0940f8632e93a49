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

std::size_t cServiceCache::slotOf(const QString& id)
{
    // Ids of one suite mostly begin alike, and differ in length and at the end.
    const int size = id.size();
    if (size < 2)
        return std::size_t(size);
    const QChar* end = id.constData() + size;
    return (std::size_t(size) * 7 + end[-1].unicode() * 3 + end[-2].unicode()) % SlotCount;
}
