#pragma once

#include <Norvale/cJsonValue.h>

/// Numbers as they stand in a text: reading of tokens, and writing of doubles.
namespace JsonNumber {

/// A decoded token: the member that the type names counts. `NullType`: the token is no number.
struct Number
{
    JsonValueType type;
    union {
        qint32 asInt;
        quint32 asUInt;
        double asDouble;
    };

    Number() : type(NullType), asDouble(0) {}
    explicit Number(qint32 number) : type(IntType), asInt(number) {}
    explicit Number(quint32 number) : type(UIntType), asUInt(number) {}
    explicit Number(double number) : type(DoubleType), asDouble(number) {}
};

/**
 * Decodes a number token: a minus sign or digit, then any run of digits and `.eE+-`. A double has the value and success
 * of `QString::toDouble`.
 * @param at the first byte of the token, moved behind its last one.
 */
Number decode(const char*& at, const char* end);

/// The end of the token of which @p at is a byte.
const char* findEnd(const char* at, const char* end);

/// No text that `write` makes is longer: "-1.23457e-308".
constexpr int MaxSize = 16;

/**
 * Writes @p number as a text stream with default settings does: 6 significant digits, like `%g`.
 * @param out has room for `MaxSize` bytes.
 * @return the end of what was written.
 */
char* write(double number, char* out);

} // namespace JsonNumber
