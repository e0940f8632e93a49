#include "services/cServiceCache.h"

std::size_t cServiceCache::slotOf(const QString& id)
{
    // Ids of one suite mostly begin alike, and differ in length and at the end.
    const int size = id.size();
    if (size < 2)
        return std::size_t(size);
    const QChar* end = id.constData() + size;
    return (std::size_t(size) * 7 + end[-1].unicode() * 3 + end[-2].unicode()) % SlotCount;
}
