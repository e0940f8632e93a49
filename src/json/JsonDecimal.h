#pragma once

#include <QtCore/QtGlobal>

// Decimal numbers as they stand in a text, and their exact conversion to doubles.

namespace JsonDecimal {

/// (-)digits * 10^exponent, as a number token gives it.
struct Decimal
{
    quint64 digits = 0;
    int exponent = 0;
    bool isNegative = false;
    bool isInteger = true; ///< neither a decimal point nor an exponent
    bool isSimple = false; ///< whether the other members tell the whole token
};

/**
 * Reads the number token that starts at @p at, a minus sign or a digit, as far as it has the usual form with at most 19
 * digits: an optional minus sign, digits, a point with digits, an exponent.
 * @param at moved behind what was read: the token's end if the result is simple, some byte of the token if not.
 */
Decimal scan(const char*& at, const char* end);

/**
 * How many of the eight bytes at @p at are digits before the first that is none, and the number that they make.
 */
int leadingDigits(const char* at, quint64* number);

/// The plain way of `leadingDigits`, for any number of bytes.
int leadingDigitsPlain(const char* at, int size, quint64* number);

/**
 * The double nearest to @p digits * 10^ @p exponent, ties to even.
 * @param isExact receives false when the number is outside of what can be done here; the result is then 0.
 */
double toDouble(quint64 digits, int exponent, bool* isExact);

} // namespace JsonDecimal
