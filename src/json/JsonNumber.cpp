#include "json/JsonNumber.h"

#include "json/JsonDecimal.h"

#include <array>
#include <charconv>

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

constexpr std::array<bool, 256> s_isNumberByte = numberBytes();

quint32 limitOf(bool isNegative)
{
    return isNegative ? NegativeLimit : PositiveLimit;
}

JsonNumber::Number integer(quint32 value, bool isNegative)
{
    if (isNegative)
        return JsonNumber::Number(-qint32(value));
    return value < UIntBegin ? JsonNumber::Number(qint32(value)) : JsonNumber::Number(value);
}

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

// The number is known from its digits at once; tokens of any other form are left to the rules one by one.
JsonNumber::Number JsonNumber::decode(const char*& at, const char* end)
{
    const char* const begin = at;
    const JsonDecimal::Decimal decimal = JsonDecimal::scan(at, end);
    if (decimal.isSimple) {
        if (decimal.isInteger && decimal.digits < quint64(limitOf(decimal.isNegative)) * 10)
            return integer(quint32(decimal.digits), decimal.isNegative);
        bool isExact = false;
        const double number = JsonDecimal::toDouble(decimal.digits, decimal.exponent, &isExact);
        if (isExact)
            return Number(decimal.isNegative ? -number : number);
    }
    at = findEnd(at, end);
    return decodePlain(begin, at);
}

JsonNumber::Number JsonNumber::decodePlain(const char* begin, const char* end)
{
    const bool isNegative = *begin == '-';
    quint32 value = 0;
    for (const char* at = isNegative ? begin + 1 : begin; at < end; ++at) {
        if (*at < '0' || *at > '9' || value >= limitOf(isNegative))
            return decodeDouble(begin, end);
        value = value * 10 + quint32(*at - '0');
    }
    return integer(value, isNegative);
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
