#pragma once

#include <QtCore/QString>
#include <QtCore/QStringView>

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
