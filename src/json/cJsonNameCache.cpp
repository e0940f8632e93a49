#include "json/cJsonNameCache.h"

#include <cstring>

namespace {

template <typename Word>
quint64 word(const char* at)
{
    Word bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

/// Length, first and last bytes: names of one document rarely differ only in the middle.
quint64 mix(const char* begin, size_t size)
{
    quint64 ends = size;
    if (size >= 8)
        ends += word<quint64>(begin) + word<quint64>(begin + size - 8) * 31;
    else if (size >= 4)
        ends += (word<quint32>(begin) << 32) + (word<quint32>(begin + size - 4) << 3);
    else if (size > 0)
        ends += (quint64(quint8(begin[0])) << 24) + (quint64(quint8(begin[size / 2])) << 16) +
                (quint64(quint8(begin[size - 1])) << 8);
    return ends * Q_UINT64_C(0x9E3779B97F4A7C15);
}

} // namespace

const QString& cJsonNameCache::name(const char* begin, const char* end)
{
    const size_t size = size_t(end - begin);
    Entry& entry = m_entries[mix(begin, size) >> (64 - SlotBits)];
    if (entry.size == size && entry.bytes && std::memcmp(entry.bytes, begin, size) == 0)
        return entry.name;
    entry.bytes = begin;
    entry.size = quint32(size);
    entry.name = plainName(begin, end);
    return entry.name;
}
