#pragma once

#include "json/cJsonMapBuilder.h"
#include "json/cJsonScratch.h"
#include "json/cJsonTextCache.h"

#include <deque>
#include <optional>

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
    /// A reading of @p begin to @p end, which must outlive it.
    cJsonParser(const char* begin, const char* end);

    /// Reads one value, and comments before it, into @p document. @return whether it was complete.
    bool read(cJsonValue& document);

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

    /// Longer strings come again too seldom to be looked for.
    static constexpr int MaxKnownString = 1024;
    static constexpr int MaxShortText = 2048;

    const char* m_at;
    const char* m_end;
    cJsonScratch<cJsonValue> m_values;
    cJsonScratch<const QString*> m_names;
    cJsonScratch<Level> m_levels;
    std::deque<QString> m_decodedNames; // all that `m_names` and the map builder point to
    std::optional<Known> m_known;       // not for short texts, which would take longer to set it up than to read
};
