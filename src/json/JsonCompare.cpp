// How values are compared. Nested values are kept on a list instead of the call stack; the order in which they are
// compared cannot be seen from outside.

#include <Norvale/cJsonValue.h>

#include "json/cJsonParts.h"

#include <QtCore/QVarLengthArray>

#include <cmath>

namespace {

struct Pair
{
    const cJsonValue* left;
    const cJsonValue* right;
};

using Pairs = QVarLengthArray<Pair, 64>;

bool sameInteger(const cJsonValue& a, const cJsonValue& b)
{
    if (a.isInt() && b.isInt())
        return a.toInt() == b.toInt();
    if (a.isUInt() && b.isUInt())
        return a.toUInt() == b.toUInt();
    const cJsonValue& signedOne = a.isInt() ? a : b;
    const cJsonValue& unsignedOne = a.isInt() ? b : a;
    return signedOne.toInt() >= 0 && uint(signedOne.toInt()) == unsignedOne.toUInt();
}

bool equalByType(const cJsonValue& a, const cJsonValue& b, Pairs& todo);

/// A nested pair: of the same type, and equal as far as that can be told without going deeper.
bool equalOrQueued(const cJsonValue& a, const cJsonValue& b, Pairs& todo)
{
    if (&a == &b)
        return true;
    if (a.type() != b.type())
        return false;
    if (!a.isArray() && !a.isObject())
        return equalByType(a, b, todo);
    todo.append({&a, &b});
    return true;
}

/// Equal size and elements; nested ones are left in @p todo. Arrays that share their data are the same elements, hence
/// equal.
bool queueElements(const cJsonValue& a, const cJsonValue& b, Pairs& todo)
{
    const QVector<cJsonValue>& left = cJsonParts::array(a);
    const QVector<cJsonValue>& right = cJsonParts::array(b);
    if (left.size() != right.size())
        return false;
    if (left.constData() == right.constData())
        return true;
    for (int i = 0; i < left.size(); ++i) {
        if (!equalOrQueued(left.at(i), right.at(i), todo))
            return false;
    }
    return true;
}

/// Equal size, and each member of @p a equal to what @p b has under its key, null when nothing; nested ones are left in
/// @p todo.
bool queueMembers(const cJsonValue& a, const cJsonValue& b, Pairs& todo)
{
    const QMap<QString, cJsonValue>& left = cJsonParts::object(a);
    const QMap<QString, cJsonValue>& right = cJsonParts::object(b);
    if (left.size() != right.size())
        return false;
    if (left.isSharedWith(right))
        return true;
    auto other = right.constBegin();
    for (auto it = left.constBegin(); it != left.constEnd(); ++it) {
        while (other != right.constEnd() && other.key() < it.key())
            ++other;
        const bool isFound = other != right.constEnd() && other.key() == it.key();
        if (!equalOrQueued(it.value(), isFound ? other.value() : cJsonValue::null(), todo))
            return false;
    }
    return true;
}

/// The rule of the left value's type, elements and members excepted, which are left in @p todo.
bool equalByType(const cJsonValue& a, const cJsonValue& b, Pairs& todo)
{
    switch (a.type()) {
    case NullType:
        return b.isNull();
    case IntType:
    case UIntType:
        return b.isIntegral() && sameInteger(a, b);
    case DoubleType:
        return b.isDouble() && a.toDouble() == b.toDouble();
    case StringType:
        return b.isString() && cJsonParts::string(a) == cJsonParts::string(b);
    case BooleanType:
        return b.isBoolean() && a.toBool() == b.toBool();
    case ArrayType:
        return b.isArray() && queueElements(a, b, todo);
    case ObjectType:
        return b.isObject() && queueMembers(a, b, todo);
    }
    return false;
}

bool areNear(double a, double b)
{
    return std::fabs(a - b) <= std::fmin(std::fabs(a), std::fabs(b)) * 1e-12;
}

} // namespace

bool cJsonValue::equalTo(const cJsonValue& other, bool strictType) const
{
    if (this == &other)
        return true;
    Pairs todo;
    if ((strictType && m_type != other.m_type) || !equalByType(*this, other, todo))
        return false;
    while (!todo.isEmpty()) {
        const Pair pair = todo.last();
        todo.removeLast();
        if (!equalByType(*pair.left, *pair.right, todo))
            return false;
    }
    return true;
}

bool cJsonValue::equivalentTo(const cJsonValue& other) const
{
    if (m_type == other.m_type && equalTo(other, true))
        return true;
    return this == &other || (isNumber() && other.isNumber() && areNear(toDouble(), other.toDouble()));
}

bool cJsonValue::containedIn(const cJsonValue& other) const
{
    if (!isObject() || !other.isObject())
        return false;
    for (auto it = m_object.constBegin(); it != m_object.constEnd(); ++it) {
        const auto found = other.m_object.constFind(it.key());
        if (found == other.m_object.constEnd() || !found.value().equivalentTo(it.value()))
            return false;
    }
    return true;
}

bool operator==(const cJsonValue& a, const cJsonValue& b)
{
    return a.equalTo(b, true);
}

bool operator!=(const cJsonValue& a, const cJsonValue& b)
{
    return !a.equalTo(b, true);
}
