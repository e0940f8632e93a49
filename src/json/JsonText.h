#pragma once

#include <QtCore/QString>

/// Decoding of string tokens.
namespace JsonText {

/**
 * The end of a string token's content.
 * @param at the first byte after the opening quote.
 * @param isPlain receives whether no backslash stands in it.
 * @return the closing quote, or null when the text ends first.
 */
const char* findClosingQuote(const char* at, const char* end, bool* isPlain);

/**
 * Decodes the content of a string token with escapes; each other byte becomes the character of its value.
 * @param out receives the text, undefined on failure.
 * @return false for an unknown or incomplete escape.
 */
bool decodeEscaped(const char* at, const char* end, QString& out);

/// Decodes the content of a string token.
inline bool decode(const char* at, const char* end, bool isPlain, QString& out)
{
    if (!isPlain)
        return decodeEscaped(at, end, out);
    out = QString::fromLatin1(at, int(end - at));
    return true;
}

} // namespace JsonText
