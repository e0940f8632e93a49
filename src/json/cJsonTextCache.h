#pragma once

#include <QtCore/QtGlobal>

#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace JsonHash {

template <typename Word>
inline quint64 word(const char* at)
{
    Word bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

/// Length and first, middle and last bytes: texts of one document that agree in these are mostly the same.
inline quint64 ofText(const char* begin, size_t size)
{
    quint64 mix = size;
    if (size >= 8)
        mix +=
            word<quint64>(begin) * 7 + word<quint64>(begin + size / 2 - 4) * 127 + word<quint64>(begin + size - 8) * 31;
    else if (size >= 4)
        mix += (word<quint32>(begin) << 32) + (word<quint32>(begin + size - 4) << 3);
    else if (size > 0)
        mix += (word<quint8>(begin) << 24) + (word<quint8>(begin + size / 2) << 16) +
               (word<quint8>(begin + size - 1) << 8);
    return mix * Q_UINT64_C(0x9E3779B97F4A7C15);
}

/// Whether @p size bytes are the same; most texts are a few words long.
inline bool areSame(const char* a, const char* b, size_t size)
{
    if (size >= 8) {
        size_t i = 0;
        for (; i + 8 < size; i += 8) {
            if (word<quint64>(a + i) != word<quint64>(b + i))
                return false;
        }
        return word<quint64>(a + size - 8) == word<quint64>(b + size - 8);
    }
    if (size >= 4)
        return word<quint32>(a) == word<quint32>(b) && word<quint32>(a + size - 4) == word<quint32>(b + size - 4);
    return std::memcmp(a, b, size) == 0;
}

} // namespace JsonHash

/**
 * Decoded texts by their bytes, so that one that comes again is neither decoded nor allocated. There are two places for
 * each hash; a newer text pushes the older one out. Where fewer than one in eight is found, it is not asked any more.
 *
 * @tparam Text what is known of a text; its default value stands for nothing.
 */
template <typename Text>
class cJsonTextCache
{
public:
    /// A cache of 2^ @p slotBits pairs of places; @p slotBits is at least 1.
    explicit cJsonTextCache(int slotBits) : m_shift(64 - slotBits), m_slots(size_t(1) << slotBits) {}

    /// Whether it is still worth asking.
    bool isUseful() const { return m_asked < 128 || m_found >= m_asked / 8; }

    /// The text decoded from @p begin to @p end; null when it is not known. It lives until the next `insert`.
    const Text* find(const char* begin, const char* end);

    /// Keeps @p text, which was decoded from @p begin to @p end; these bytes must outlive the cache.
    void insert(const char* begin, const char* end, const Text& text);

private:
    struct Entry
    {
        const char* bytes = nullptr;
        size_t size = 0;
        Text text{};

        bool holds(const char* begin, size_t length) const
        {
            return size == length && bytes && JsonHash::areSame(bytes, begin, length);
        }
    };

    using Slot = std::array<Entry, 2>;

    Slot& slotOf(const char* begin, size_t size) { return m_slots[size_t(JsonHash::ofText(begin, size) >> m_shift)]; }

    int m_shift;
    quint32 m_asked = 0;
    quint32 m_found = 0;
    std::vector<Slot> m_slots;
};

template <typename Text>
inline const Text* cJsonTextCache<Text>::find(const char* begin, const char* end)
{
    const size_t size = size_t(end - begin);
    Slot& slot = slotOf(begin, size);
    ++m_asked;
    for (const Entry& entry : slot) {
        if (entry.holds(begin, size)) {
            ++m_found;
            return &entry.text;
        }
    }
    return nullptr;
}

template <typename Text>
inline void cJsonTextCache<Text>::insert(const char* begin, const char* end, const Text& text)
{
    const size_t size = size_t(end - begin);
    Slot& slot = slotOf(begin, size);
    slot[1] = std::move(slot[0]);
    slot[0] = Entry{begin, size, text};
}
