#pragma once

#include "version/FlatMap.h"
#include "json/cJsonMapBuilder.h"
#include "json/cJsonScratch.h"

#include <QtCore/QLatin1String>

#include <deque>
#include <optional>

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

/**
 * One reading of a JSON text.
 *
 * Arrays and objects that are still open stand on a list of levels instead of the call stack. Their elements and
 * members are collected on a scratch stack and moved into a container of exact size when the closing bracket has been
 * read. After a failure the open levels are closed with what they have, from the innermost outwards.
 */
class cJsonParser
{
public:
    /// The most elements of an array: what Qt's vector can hold of them. Its map holds more members than a text has.
    static constexpr quint32 MaxElements = (0x7fffffff - 64) / sizeof(cJsonValue);

    /// A reading of @p begin to @p end, which must outlive it.
    cJsonParser(const char* begin, const char* end, quint32 maxElements = MaxElements);

    /// Reads one value, and comments before it, into @p document. @return whether it was complete.
    bool read(cJsonValue& document);

    /// How far into the text the reading had come when it failed.
    int failedAt() const { return int(m_failedAt - m_begin); }

private:
    /// The tokens that are told apart where one is skipped or refused.
    enum Token { EndOfInput, ObjectEnd, ArrayEnd, TrueToken, FalseToken, NullToken, CommentToken, OtherToken };

    /// What came of reading a value, of going on behind one, or of opening a container.
    enum Outcome { Failed, ValueFollows, ValueDone };

    /// An open array or object: where its values and, for an object, its names begin on the scratch stacks.
    struct Level
    {
        quint32 values;
        quint32 names;
        bool isArray;
    };

    /// What has been read before and may come again.
    struct Known
    {
        cJsonTextCache<const QString*> names;
        cJsonTextCache<QString> strings;
        cJsonMapBuilder maps;

        /// As much as pays off for a text of 2^ @p textBits bytes.
        explicit Known(int textBits);
    };

    Outcome readValue();
    Outcome readString();
    Outcome readNumber();
    Outcome readWord();
    Outcome openArray();
    Outcome openObject();
    Outcome readName();
    const QString* decodeName(const char* begin, const char* end, bool isPlain);
    Outcome goOn();
    Outcome goOnInArray(char first);
    Outcome goOnInObject(char first);
    Outcome goOnBehindComment();
    Outcome close();

    static Outcome fail(const char* reason);
    Outcome failValue();
    void closeFailed();
    void skipBehind(Token closing);

    Token nextToken();
    void skipString();
    Token wordToken(const char* rest, int size, Token token);
    Token commentToken();

    static constexpr int MaxKnownString = 1024; // longer ones come again too seldom to be looked up
    static constexpr int MaxShortText = 2048;   // takes longer to set up what is known than to read

    const char* const m_begin;
    const char* m_at;
    const char* m_end;
    const char* m_failedAt;
    const quint32 m_maxElements;
    bool m_isTooLarge = false;
    cJsonScratch<cJsonValue> m_values;
    cJsonScratch<const QString*> m_names;
    cJsonScratch<Level> m_levels;
    std::deque<QString> m_decodedNames; // all that `m_names` and the map builder point to
    std::optional<Known> m_known;       // not for short texts
};
