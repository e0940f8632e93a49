#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringView>

#include <array>

constexpr int Sha1Size = 20; // bytes

/// The number that @p text writes, as `QString::toUInt()` reads it: 0 when it is none, or one of more than 32 bits. All
/// that stand in catalogues are a few digits, which are read here without a text of their own.
inline quint32 unsignedNumber(QStringView text)
{
    constexpr int SureDigits = 9; // any more may be too many for the number
    quint32 number = 0;
    for (const QChar digit : text) {
        if (text.size() > SureDigits || digit < u'0' || digit > u'9')
            return text.toString().toUInt();
        number = number * 10 + (digit.unicode() - u'0');
    }
    return number;
}

/// By its code; -1 for what is no hexadecimal digit.
constexpr std::array<int, 128> hexDigitValues()
{
    std::array<int, 128> values{};
    for (int code = 0; code < 128; ++code) {
        const int letter = code | 0x20; // in lower case
        values[size_t(code)] = code >= '0' && code <= '9'       ? code - '0'
                               : letter >= 'a' && letter <= 'f' ? letter - 'a' + 10
                                                                : -1;
    }
    return values;
}

/// Puts the bytes that @p digits write, two each, into @p bytes, of which there are thousands in catalogues and
/// metadata.
/// @return false when there is anything but hexadecimal digits, or one too many; what the bytes are is then open.
inline bool readHex(QStringView digits, char* bytes)
{
    static constexpr std::array<int, 128> Values = hexDigitValues();
    const auto valueOf = [](size_t code) { return code < Values.size() ? Values[code] : -1; };
    if (digits.size() % 2 != 0)
        return false;
    int all = 0; // has the sign of each
    for (int i = 0; i < int(digits.size()); i += 2) {
        const int value = valueOf(digits[i].unicode()) * 16 | valueOf(digits[i + 1].unicode());
        all |= value;
        *bytes++ = char(value);
    }
    return all >= 0;
}

/// The same as a byte array; empty when they are none.
inline QByteArray hexBytes(QStringView digits)
{
    QByteArray bytes(int(digits.size()) / 2, Qt::Uninitialized);
    return readHex(digits, bytes.data()) ? bytes : QByteArray();
}
