#pragma once

// Scans over the bytes of a text that stop at the first byte of interest. Each has a plain form, which is what the
// other one is tested against and what is used where there is no SSE2.

#if defined(__SSE2__) || defined(_M_X64)
#define NORVALE_JSON_SSE2
#include <emmintrin.h>
#endif

#include <QtCore/QtGlobal>
#include <QtCore/qalgorithms.h>

namespace JsonScan {

inline bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// The first byte from @p at that is no space, tab, CR or LF; @p end when there is none.
inline const char* skipSpacesPlain(const char* at, const char* end)
{
    while (at < end && isSpace(*at))
        ++at;
    return at;
}

/// The first double quote or backslash from @p at; @p end when there is none.
inline const char* findQuotePlain(const char* at, const char* end)
{
    while (at < end && *at != '"' && *at != '\\')
        ++at;
    return at;
}

#if defined(NORVALE_JSON_SSE2)

inline __m128i load(const char* at)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

inline const char* findQuote(const char* at, const char* end)
{
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    for (; end - at >= 16; at += 16) {
        const __m128i bytes = load(at);
        const int hits =
            _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)));
        if (hits)
            return at + qCountTrailingZeroBits(quint32(hits));
    }
    return findQuotePlain(at, end);
}

/// Indented documents have a line end and a run of spaces before nearly every token; all others have none or one space.
inline const char* skipSpaces(const char* at, const char* end)
{
    if (at < end && !isSpace(*at))
        return at;
    if (end - at >= 2 && !isSpace(at[1]))
        return at + 1;
    const __m128i space = _mm_set1_epi8(' ');
    const __m128i tab = _mm_set1_epi8('\t');
    const __m128i cr = _mm_set1_epi8('\r');
    const __m128i lf = _mm_set1_epi8('\n');
    for (; end - at >= 16; at += 16) {
        const __m128i bytes = load(at);
        const __m128i blank = _mm_or_si128(_mm_cmpeq_epi8(bytes, space), _mm_cmpeq_epi8(bytes, tab));
        const __m128i line = _mm_or_si128(_mm_cmpeq_epi8(bytes, cr), _mm_cmpeq_epi8(bytes, lf));
        const int others = _mm_movemask_epi8(_mm_or_si128(blank, line)) ^ 0xffff;
        if (others)
            return at + qCountTrailingZeroBits(quint32(others));
    }
    return skipSpacesPlain(at, end);
}

#else

inline const char* findQuote(const char* at, const char* end)
{
    return findQuotePlain(at, end);
}

inline const char* skipSpaces(const char* at, const char* end)
{
    return skipSpacesPlain(at, end);
}

#endif

} // namespace JsonScan
