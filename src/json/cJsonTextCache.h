#pragma once

#include "version/FlatMap.h"

#include <QtCore/QLatin1String>

/**
 * Decoded texts by their bytes, so that one that comes again is neither decoded nor allocated. It keeps the first ones
 * up to a limit; where fewer than one in eight is found, it is not asked any more.
 *
 * @tparam Text what is known of a text.
 */
template <typename Text>
class cJsonTextCache
{
public:
    /// Whether it is still worth asking.
    bool isUseful() const { return m_asked < 128 || m_found >= m_asked / 8; }

    /// What is known of @p bytes; null when nothing is. It lives until the next `insert`.
    const Text* find(QLatin1String bytes)
    {
        ++m_asked;
        const auto known = m_texts.find(bytes);
        if (known == m_texts.end())
            return nullptr;
        ++m_found;
        return &known->second;
    }

    /// Keeps @p text, which was decoded from @p bytes; these must outlive the cache.
    void insert(QLatin1String bytes, const Text& text)
    {
        if (m_texts.size() < MaxTexts)
            m_texts.emplace(bytes, text);
    }

private:
    static constexpr size_t MaxTexts = 1024; // a document with more seldom repeats them

    FlatMap<QLatin1String, Text> m_texts;
    quint32 m_asked = 0;
    quint32 m_found = 0;
};
