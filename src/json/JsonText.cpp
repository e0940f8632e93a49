#include "json/JsonText.h"

#include "json/JsonScan.h"

#include <QtCore/QVarLengthArray>

#include <array>
#include <charconv>
#include <cstring>

namespace {

/// What the letter of an escape stands for; 0 when it is none of the one-letter escapes.
char meaningOf(char letter)
{
    switch (letter) {
    case '"':
    case '/':
    case '\\':
        return letter;
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return 0;
    }
}

/// Four hex digits at @p at as a UTF-16 unit; negative when they are none or too few.
int hexUnit(const char* at, const char* end)
{
    ushort unit = 0;
    const bool isWhole = end - at >= 4 && std::from_chars(at, at + 4, unit, 16).ptr == at + 4;
    return isWhole ? unit : -1;
}

using Units = QVarLengthArray<ushort, 512>;

void appendLatin1(Units& units, const char* at, const char* end)
{
    for (; at < end; ++at)
        units.append(quint8(*at));
}

/// Decodes the escape whose backslash stands at @p at and moves behind it.
bool appendEscape(Units& units, const char*& at, const char* end)
{
    if (end - at < 2)
        return false;
    if (at[1] == 'u') {
        const int unit = hexUnit(at + 2, end);
        if (unit < 0)
            return false;
        units.append(ushort(unit));
        at += 6;
        return true;
    }
    const char meant = meaningOf(at[1]);
    if (!meant)
        return false;
    units.append(ushort(meant));
    at += 2;
    return true;
}

/// What a unit below 256 becomes; eight bytes are copied, the first `size` of them count.
struct Escape
{
    char bytes[7];
    quint8 size;
};

constexpr char hexDigit(int digit)
{
    return "0123456789abcdef"[digit];
}

constexpr Escape escapeOf(int unit)
{
    const std::pair<char, char> letters[] = {{'\\', '\\'}, {'"', '"'},  {'\b', 'b'}, {'\f', 'f'},
                                             {'\n', 'n'},  {'\r', 'r'}, {'\t', 't'}};
    for (const auto& letter : letters) {
        if (unit == letter.first)
            return {{'\\', letter.second}, 2};
    }
    if (unit < 128)
        return {{char(unit)}, 1};
    return {{'\\', 'u', '0', '0', hexDigit(unit >> 4), hexDigit(unit & 15)}, JsonText::MaxEscape};
}

constexpr std::array<Escape, 256> escapes()
{
    std::array<Escape, 256> table{};
    for (int unit = 0; unit < 256; ++unit)
        table[size_t(unit)] = escapeOf(unit);
    return table;
}

constexpr std::array<Escape, 256> Escapes = escapes();

char* writeUnit(ushort unit, char* out)
{
    if (unit < 256) {
        const Escape& escape = Escapes[unit];
        std::memcpy(out, escape.bytes, sizeof escape.bytes);
        return out + escape.size;
    }
    const char text[] = {
        '\\', 'u', hexDigit(unit >> 12), hexDigit((unit >> 8) & 15), hexDigit((unit >> 4) & 15), hexDigit(unit & 15)};
    std::memcpy(out, text, sizeof text);
    return out + sizeof text;
}

#if defined(NORVALE_JSON_SSE2)

/// Eight units as bytes in the low half. Units that no byte can hold become 255, or 0 from 0x8000 on.
__m128i packed(const QChar* units)
{
    const __m128i words = JsonScan::load(reinterpret_cast<const char*>(units));
    return _mm_packus_epi16(words, words);
}

/// One bit for each of the eight bytes that are not copied as they are, or may not be: above 127, below 32, quotes and
/// backslashes.
int specialBytes(__m128i bytes)
{
    const __m128i control = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));
    const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i backslash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return _mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, backslash))) & 0xff;
}

#endif

} // namespace

const char* JsonText::findClosingQuote(const char* at, const char* end, bool* isPlain)
{
    *isPlain = true;
    for (at = JsonScan::findQuote(at, end); at < end; at = JsonScan::findQuote(at, end)) {
        if (*at == '"')
            return at;
        *isPlain = false;
        at += end - at >= 2 ? 2 : 1;
    }
    return nullptr;
}

bool JsonText::decodeEscaped(const char* at, const char* end, QString& out)
{
    Units units;
    while (at < end) {
        const char* const backslash = JsonScan::findQuote(at, end);
        appendLatin1(units, at, backslash);
        at = backslash;
        if (at < end && !appendEscape(units, at, end))
            return false;
    }
    out = QString(reinterpret_cast<const QChar*>(units.constData()), units.size());
    return true;
}

char* JsonText::escape(const QChar* units, int count, char* out)
{
    const QChar* const end = units + count;
#if defined(NORVALE_JSON_SSE2)
    while (end - units >= 8) {
        const __m128i bytes = packed(units);
        const int special = specialBytes(bytes);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), bytes);
        const int plain = special ? int(qCountTrailingZeroBits(quint32(special))) : 8;
        units += plain;
        out += plain;
        // Units that need an escape mostly come in runs.
        while (special && units < end &&
               (units->unicode() > 127 || Escapes[units->unicode()].size > 1 || units->unicode() < 32))
            out = writeUnit((units++)->unicode(), out);
    }
#endif
    while (units < end)
        out = writeUnit((units++)->unicode(), out);
    return out;
}

QByteArray JsonText::escaped(const QString& text)
{
    constexpr int Step = 512;
    QByteArray ascii;
    char piece[Step * MaxEscape + Slack];
    for (int done = 0; done < text.size(); done += Step) {
        const char* const end = escape(text.constData() + done, qMin(Step, text.size() - done), piece);
        ascii.append(piece, int(end - piece));
    }
    return ascii;
}

char* JsonText::copyAscii(const QChar* units, int count, char* out)
{
    ushort all = 0;
    int i = 0;
#if defined(NORVALE_JSON_SSE2)
    __m128i any = _mm_setzero_si128();
    for (; count - i >= 8; i += 8) {
        any = _mm_or_si128(any, JsonScan::load(reinterpret_cast<const char*>(units + i)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), packed(units + i));
    }
    any = _mm_cmpeq_epi16(_mm_and_si128(any, _mm_set1_epi16(short(0xff80))), _mm_setzero_si128());
    if (_mm_movemask_epi8(any) != 0xffff)
        return nullptr;
#endif
    for (; i < count; ++i) {
        all |= units[i].unicode();
        out[i] = char(units[i].unicode());
    }
    return all > 127 ? nullptr : out + count;
}
