#include "json/JsonEscape.h"

#include "json/JsonScan.h"

#include <array>
#include <cstring>

namespace {

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
    return {{'\\', 'u', '0', '0', hexDigit(unit >> 4), hexDigit(unit & 15)}, JsonEscape::MaxUnit};
}

constexpr std::array<Escape, 256> escapes()
{
    std::array<Escape, 256> table{};
    for (int unit = 0; unit < 256; ++unit)
        table[size_t(unit)] = escapeOf(unit);
    return table;
}

constexpr std::array<Escape, 256> s_escapes = escapes();

char* writeUnit(ushort unit, char* out)
{
    if (unit < 256) {
        const Escape& escape = s_escapes[unit];
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

char* JsonEscape::write(const QChar* units, int count, char* out)
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
               (units->unicode() > 127 || s_escapes[units->unicode()].size > 1 || units->unicode() < 32))
            out = writeUnit((units++)->unicode(), out);
    }
#endif
    while (units < end)
        out = writeUnit((units++)->unicode(), out);
    return out;
}

QByteArray JsonEscape::plain(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('"'), QLatin1String("\\\""));
    text.replace(QLatin1Char('\b'), QLatin1String("\\b"));
    text.replace(QLatin1Char('\f'), QLatin1String("\\f"));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    text.replace(QLatin1Char('\r'), QLatin1String("\\r"));
    text.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    QString ascii;
    for (const QChar unit : qAsConst(text)) {
        if (unit.unicode() <= 127) {
            ascii += unit;
            continue;
        }
        ascii += QLatin1String("\\u");
        for (int shift = 12; shift >= 0; shift -= 4)
            ascii += QLatin1Char(hexDigit((unit.unicode() >> shift) & 15));
    }
    return ascii.toLatin1();
}

char* JsonEscape::copyAscii(const QChar* units, int count, char* out)
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
