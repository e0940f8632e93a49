#include "json/JsonNumber.h"

#include <array>
#include <charconv>
#include <limits>

namespace {

/// A number that has reached these takes no further digit as an integer; the token is then read as a double.
constexpr quint32 NegativeLimit = 214748364;
constexpr quint32 PositiveLimit = 429496729;

constexpr std::array<bool, 256> numberBytes()
{
    std::array<bool, 256> table{};
    for (const char c : {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '.', 'e', 'E', '+', '-'})
        table[quint8(c)] = true;
    return table;
}

constexpr std::array<bool, 256> s_isNumberByte = numberBytes();

JsonNumber::Number decodeDouble(const char* begin, const char* end)
{
    bool ok = false;
    const double number = JsonNumber::toDouble(begin, end, &ok);
    return ok ? JsonNumber::Number(number) : JsonNumber::Number();
}

} // namespace

const char* JsonNumber::findEnd(const char* at, const char* end)
{
    while (at < end && s_isNumberByte[quint8(*at)])
        ++at;
    return at;
}

JsonNumber::Number JsonNumber::decode(const char*& at, const char* end)
{
    const char* const begin = at;
    const bool isNegative = *begin == '-';
    const quint32 limit = isNegative ? NegativeLimit : PositiveLimit;
    quint32 value = 0;
    at += isNegative ? 1 : 0;
    for (; at < end && s_isNumberByte[quint8(*at)]; ++at) {
        const quint32 digit = quint8(*at) - quint32('0');
        if (digit > 9 || value >= limit) {
            at = findEnd(at, end);
            return decodeDouble(begin, at);
        }
        value = value * 10 + digit;
    }
    if (isNegative)
        return Number(-qint32(value));
    return value <= quint32(std::numeric_limits<qint32>::max()) ? Number(qint32(value)) : Number(value);
}

// What the standard conversion takes whole, without error and with a value that is not zero, has the same value in
// both; overflow, underflow, zeros and malformed tokens are left to the conversion whose rules hold.
double JsonNumber::toDouble(const char* begin, const char* end, bool* ok)
{
    double number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    if (error == std::errc() && stop == end && number != 0) {
        *ok = true;
        return number;
    }
    return toDoublePlain(begin, end, ok);
}

double JsonNumber::toDoublePlain(const char* begin, const char* end, bool* ok)
{
    return QString::fromLatin1(begin, int(end - begin)).toDouble(ok);
}
