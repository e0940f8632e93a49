#include "json/JsonDecimal.h"

#include <QtCore/qalgorithms.h>

#include <array>
#include <cstring>

namespace {

constexpr int MaxDigits = 19;       // each number of 19 digits fits in 64 bits
constexpr int MaxExactPower = 22;   // 10^22 is the last power of ten that is a double
constexpr int MaxExactDivisor = 27; // 5^27 is the last power of five that fits in 64 bits
constexpr quint64 MaxExactDigits = Q_UINT64_C(1) << 53;

constexpr double s_powersOfTen[MaxExactPower + 1] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isTokenByte(char c)
{
    return isDigit(c) || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-';
}

constexpr quint64 s_integerPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

/// Appends the digits at @p at to @p digits. @return how many; digits beyond 19 make the number worthless, not the
/// count.
int appendDigits(const char*& at, const char* end, quint64& digits)
{
    const char* const begin = at;
    quint64 number = 0;
    int count = 8;
    while (count == 8 && end - at >= 8) {
        count = JsonDecimal::leadingDigits(at, &number);
        digits = digits * s_integerPowers[count] + number;
        at += count;
    }
    for (; at < end && isDigit(*at); ++at)
        digits = digits * 10 + quint64(*at - '0');
    return int(at - begin);
}

/// Reads `e`, a sign and at most four digits. @return false when something is missing or longer.
bool scanExponent(const char*& at, const char* end, int& exponent)
{
    ++at;
    const bool isNegative = at < end && *at == '-';
    if (at < end && (*at == '-' || *at == '+'))
        ++at;
    quint64 number = 0;
    const int count = appendDigits(at, end, number);
    exponent += isNegative ? -int(number % 10000) : int(number % 10000);
    return count > 0 && count <= 4;
}

#if defined(__SIZEOF_INT128__)

constexpr std::array<quint64, MaxExactDivisor + 1> powersOfFive()
{
    std::array<quint64, MaxExactDivisor + 1> powers{1};
    for (size_t i = 1; i < powers.size(); ++i)
        powers[i] = powers[i - 1] * 5;
    return powers;
}

constexpr std::array<quint64, MaxExactDivisor + 1> s_powersOfFive = powersOfFive();

double powerOfTwo(int exponent)
{
    const quint64 bits = quint64(1023 + exponent) << 52;
    double power;
    std::memcpy(&power, &bits, sizeof power);
    return power;
}

// Both sides are shifted up to 64 bits, so that the quotient has at least 62; a remainder is noted in the lowest bit,
// far below the last one of a double, so that the one rounding is that of the conversion.
double divided(quint64 digits, int power)
{
    __extension__ using quint128 = unsigned __int128;
    const quint64 five = s_powersOfFive[size_t(power)];
    const int up = int(qCountLeadingZeroBits(digits));
    const int fiveUp = int(qCountLeadingZeroBits(five));
    const quint128 numerator = quint128(digits << up) << 63;
    const quint64 divisor = five << fiveUp;
    quint64 quotient = quint64(numerator / divisor);
    if (quint128(quotient) * divisor != numerator)
        quotient |= 1;
    return double(quotient) * powerOfTwo(fiveUp - 63 - up - power);
}

#endif

} // namespace

int JsonDecimal::leadingDigitsPlain(const char* at, int size, quint64* number)
{
    int count = 0;
    for (*number = 0; count < size && isDigit(at[count]); ++count)
        *number = *number * 10 + quint64(at[count] - '0');
    return count;
}

#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN

// Eight bytes are eight lanes of one word. A digit has the high half 3 and keeps it when 6 is added; a carry only
// reaches lanes behind one that is no digit. The digits are moved up behind zeros, then neighbours are joined to
// numbers of two, four and eight digits.
int JsonDecimal::leadingDigits(const char* at, quint64* number)
{
    constexpr quint64 High = Q_UINT64_C(0xF0F0F0F0F0F0F0F0);
    constexpr quint64 Zeros = Q_UINT64_C(0x3030303030303030);
    constexpr quint64 Pairs = Q_UINT64_C(0x000000FF000000FF);
    quint64 bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    const quint64 others = ((bytes & High) ^ Zeros) | (((bytes + Q_UINT64_C(0x0606060606060606)) & High) ^ Zeros);
    const int count = others ? int(qCountTrailingZeroBits(others)) / 8 : 8;
    bytes -= Zeros;
    bytes = count > 0 ? bytes << (64 - 8 * count) : 0;
    bytes = bytes * 10 + (bytes >> 8);
    *number = quint32(
        ((bytes & Pairs) * Q_UINT64_C(0x000F424000000064) + ((bytes >> 16) & Pairs) * Q_UINT64_C(0x0000271000000001)) >>
        32);
    return count;
}

#else

int JsonDecimal::leadingDigits(const char* at, quint64* number)
{
    return leadingDigitsPlain(at, 8, number);
}

#endif

JsonDecimal::Decimal JsonDecimal::scan(const char*& at, const char* end)
{
    Decimal decimal;
    decimal.isNegative = *at == '-';
    if (decimal.isNegative)
        ++at;
    int count = appendDigits(at, end, decimal.digits);
    if (at == end || !isTokenByte(*at)) {
        decimal.isSimple = count <= MaxDigits;
        return decimal;
    }
    decimal.isInteger = false;
    bool isUsual = count > 0;
    if (*at == '.') {
        ++at;
        decimal.exponent = -appendDigits(at, end, decimal.digits);
        count -= decimal.exponent;
    }
    if (at < end && (*at == 'e' || *at == 'E'))
        isUsual = scanExponent(at, end, decimal.exponent) && isUsual;
    decimal.isSimple = isUsual && count <= MaxDigits && (at == end || !isTokenByte(*at));
    return decimal;
}

double JsonDecimal::toDouble(quint64 digits, int exponent, bool* isExact)
{
    *isExact = true;
    if (digits == 0 || exponent == 0)
        return double(digits);
    if (digits <= MaxExactDigits && exponent >= -MaxExactPower && exponent <= MaxExactPower)
        return exponent > 0 ? double(digits) * s_powersOfTen[exponent] : double(digits) / s_powersOfTen[-exponent];
#if defined(__SIZEOF_INT128__)
    if (exponent < 0 && exponent >= -MaxExactDivisor)
        return divided(digits, -exponent);
#endif
    *isExact = false;
    return 0;
}
