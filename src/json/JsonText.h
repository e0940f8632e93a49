#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Strings as they stand in a text: decoding of tokens, and escaping.
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

/// The most bytes that `escape` makes of a unit.
constexpr int MaxEscape = 6;

/// Bytes behind the last one that `escape` and `copyAscii` may overwrite.
constexpr int Slack = 16;

/**
 * Writes @p count units to @p out as the content of a string token in ASCII: each unit above 127 as an escape, also
 * each half of a pair.
 * @param out has room for `MaxEscape` bytes each and `Slack`.
 * @return the end.
 */
char* escape(const QChar* units, int count, char* out);

/// All of @p text as `escape` writes it.
QByteArray escaped(const QString& text);

/**
 * Copies @p count units that are all ASCII to @p out, which has room for them and `Slack`.
 * @return the end; null when one is not ASCII.
 */
char* copyAscii(const QChar* units, int count, char* out);

} // namespace JsonText
