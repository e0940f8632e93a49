#include "json/JsonDouble.h"

#include <QtCore/QTextStream>

#include <cmath>
#include <cstring>

namespace {

constexpr int Precision = 6;
constexpr quint32 Begin = 100000; // the numbers of six digits
constexpr quint32 End = 1000000;

// Scaling by a power of ten that is a double rounds once, which is less than 1e-9 for numbers of six digits; whoever is
// further than this from the middle is rounded to the right side.
constexpr double TieMargin = 1e-6;
constexpr int MaxExactPower = 22;

constexpr double s_powersOfTen[MaxExactPower + 1] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// The decimal exponent of @p number, or one more or less.
int estimateExponent(double number)
{
    quint64 bits;
    std::memcpy(&bits, &number, sizeof bits);
    const int binary = int(bits >> 52) - 1023;
    return (binary * 1233) >> 12; // log10(2) is 0.30103, which is 1233 / 4096 as near as is needed
}

double scaled(double number, int power)
{
    return power >= 0 ? number * s_powersOfTen[power] : number / s_powersOfTen[-power];
}

char* writeText(char* out, const char* text)
{
    const size_t size = std::strlen(text);
    std::memcpy(out, text, size);
    return out + size;
}

/// 123456 with the exponent 1 is 12.3456; zeros at the end are left out.
char* writeFixed(const char* digits, int count, int exponent, char* out)
{
    if (exponent < 0) {
        std::memcpy(out, "0.000", 5);
        out += 1 - exponent;
        std::memcpy(out, digits, Precision);
        return out + count;
    }
    const int whole = exponent + 1;
    std::memcpy(out, digits, Precision);
    if (count <= whole)
        return out + whole;
    std::memmove(out + whole + 1, out + whole, size_t(Precision - whole));
    out[whole] = '.';
    return out + count + 1;
}

char* writeScientific(const char* digits, int count, int exponent, char* out)
{
    *out++ = digits[0];
    if (count > 1) {
        *out++ = '.';
        std::memcpy(out, digits + 1, Precision - 1);
        out += count - 1;
    }
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    *out++ = char('0' + size / 10);
    *out++ = char('0' + size % 10);
    return out;
}

char* writeDigits(quint32 number, int exponent, char* out)
{
    char digits[Precision];
    for (int i = Precision - 1; i >= 0; --i) {
        digits[i] = char('0' + number % 10);
        number /= 10;
    }
    int count = Precision;
    while (count > 1 && digits[count - 1] == '0')
        --count;
    const bool isFixed = exponent >= -4 && exponent < Precision;
    return isFixed ? writeFixed(digits, count, exponent, out) : writeScientific(digits, count, exponent, out);
}

} // namespace

char* JsonDouble::write(double number, char* out)
{
    if (number == 0)
        return writeText(out, "0"); // also for -0
    if (std::isnan(number))
        return writeText(out, "nan");
    if (std::isinf(number))
        return writeText(out, number < 0 ? "-inf" : "inf");
    const double size = std::fabs(number);
    int exponent = estimateExponent(size);
    if (std::abs(Precision - 1 - exponent) >= MaxExactPower)
        return nullptr;
    double six = scaled(size, Precision - 1 - exponent);
    if (six >= End)
        six = scaled(size, Precision - 1 - ++exponent);
    const quint32 whole = quint32(six);
    const double rest = six - whole;
    if (whole < Begin || whole >= End || std::fabs(rest - 0.5) < TieMargin)
        return nullptr;
    const quint32 rounded = rest > 0.5 ? whole + 1 : whole;
    if (number < 0)
        *out++ = '-';
    return rounded == End ? writeDigits(Begin, exponent + 1, out) : writeDigits(rounded, exponent, out);
}

QByteArray JsonDouble::plain(double number)
{
    QString text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    stream << number;
    stream.flush();
    return text.toLatin1();
}
