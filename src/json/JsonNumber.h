#pragma once

#include <Norvale/cJsonValue.h>

/// Decoding of number tokens: a minus sign or digit, then any run of digits and `.eE+-`.
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

/// Decodes the token that starts at @p at, a minus sign or a digit, and moves @p at behind it.
Number decode(const char*& at, const char* end);

/// Decodes the token @p begin to @p end by the rules one by one: the plain way of `decode`.
Number decodePlain(const char* begin, const char* end);

/// The end of the token of which @p at is a byte.
const char* findEnd(const char* at, const char* end);

/// The whole of @p begin to @p end as a double, with the result and success of `QString::toDouble`.
double toDouble(const char* begin, const char* end, bool* ok);

/// The plain way of `toDouble`.
double toDoublePlain(const char* begin, const char* end, bool* ok);

} // namespace JsonNumber
