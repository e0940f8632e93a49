#include "json/JsonNumber.h"

#include <QtCore/QTextStream>

#include <fast_float/fast_float.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// An integer that has reached its limit takes no further digit; the token is then read as a double.
constexpr quint32 NegativeLimit = 214748364;
constexpr quint32 PositiveLimit = 429496729;
constexpr quint32 UIntBegin = 2147483648;

constexpr std::array<bool, 256> numberBytes()
{
    std::array<bool, 256> table{};
    for (const char c : {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '.', 'e', 'E', '+', '-'})
        table[quint8(c)] = true;
    return table;
}

constexpr std::array<bool, 256> IsNumberByte = numberBytes();

JsonNumber::Number integer(quint32 value, bool isNegative)
{
    if (isNegative)
        return JsonNumber::Number(-qint32(value));
    return value < UIntBegin ? JsonNumber::Number(qint32(value)) : JsonNumber::Number(value);
}

/// Whether a token that was read as zero is one: a number that is too small is an error for `QString::toDouble`.
bool hasZerosOnly(const char* begin, const char* end)
{
    return std::none_of(begin, end, [](char c) { return c > '0'; }); // digits and exponents are; signs and points not
}

/// Decodes the token at @p begin, and moves @p at behind it.
JsonNumber::Number decodeDouble(const char* begin, const char*& at, const char* end)
{
    double number = 0;
    const auto [stop, error] = fast_float::from_chars(begin, end, number);
    const bool isWhole = stop == end || !IsNumberByte[quint8(*stop)];
    const bool isInRange = number == 0 ? hasZerosOnly(begin, stop) : std::isfinite(number);
    if (error == std::errc() && isWhole && isInRange) {
        at = stop;
        return JsonNumber::Number(number);
    }
    at = JsonNumber::findEnd(begin, end);
    bool ok = false;
    number = QString::fromLatin1(begin, int(at - begin)).toDouble(&ok);
    return ok ? JsonNumber::Number(number) : JsonNumber::Number();
}

constexpr int Precision = 6; // significant digits of a stream with default settings

// Numbers of this range are written without an exponent, also when they have been rounded up.
constexpr double FixedBegin = 0.0001;
constexpr double FixedLast = 999999;

constexpr quint32 PowersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

// The scaling of a number to six digits rounds once, by less than 1e-9. A number that is further than this from the
// middle between two texts is rounded to the right side.
constexpr double TieMargin = 1e-6;

/// Writes a number of the range above. @return the end; null when it is too near the middle between two texts.
char* writeFixed(double size, char* out)
{
    int decimals = 0;
    while (size * PowersOfTen[decimals] < 100000)
        ++decimals;
    const double scaled = size * PowersOfTen[decimals];
    quint32 digits = quint32(scaled);
    const double rest = scaled - digits;
    if (std::fabs(rest - 0.5) < TieMargin)
        return nullptr;
    digits += rest > 0.5 ? 1 : 0;
    for (; decimals > 0 && digits % 10 == 0; --decimals)
        digits /= 10;
    const quint32 unit = PowersOfTen[decimals];
    out = std::to_chars(out, out + Precision, digits / unit).ptr;
    if (decimals == 0)
        return out;
    // The unit keeps the zeros at the front of the fraction; its own digit gives way to the point.
    char* const end = std::to_chars(out, out + 10, unit + digits % unit).ptr;
    *out = '.';
    return end;
}

/// Whether @p size may be the exact middle between two texts, which a stream rounds up and `std::to_chars` to even:
/// its shortest text has then seven digits, of which the last is a five.
bool mayBeTie(double size)
{
    char text[32] = {};
    std::to_chars(text, text + sizeof text, size, std::chars_format::scientific);
    return text[Precision + 1] == '5' && text[Precision + 2] == 'e';
}

char* writeByStream(double number, char* out)
{
    QByteArray text;
    QTextStream stream(&text);
    stream << number;
    stream.flush();
    std::memcpy(out, text.constData(), size_t(text.size()));
    return out + text.size();
}

} // namespace

const char* JsonNumber::findEnd(const char* at, const char* end)
{
    while (at < end && IsNumberByte[quint8(*at)])
        ++at;
    return at;
}

JsonNumber::Number JsonNumber::decode(const char*& at, const char* end)
{
    const char* const begin = at;
    const bool isNegative = *at == '-';
    const quint32 limit = isNegative ? NegativeLimit : PositiveLimit;
    quint32 value = 0;
    for (at += isNegative ? 1 : 0; at < end && *at >= '0' && *at <= '9' && value < limit; ++at)
        value = value * 10 + quint32(*at - '0');
    if (at < end && IsNumberByte[quint8(*at)])
        return decodeDouble(begin, at, end);
    return integer(value, isNegative);
}

char* JsonNumber::write(double number, char* out)
{
    if (number == 0) {
        *out = '0'; // also for -0
        return out + 1;
    }
    const double size = std::fabs(number);
    char* const digits = number < 0 ? out + 1 : out;
    *out = '-';
    char* const end = size >= FixedBegin && size <= FixedLast ? writeFixed(size, digits) : nullptr;
    if (end)
        return end;
    if (!std::isfinite(number) || mayBeTie(size))
        return writeByStream(number, out);
    return std::to_chars(digits, out + MaxSize, size, std::chars_format::general, Precision).ptr;
}
