// Conversion to and from QVariant. Neither way uses the call stack for nesting.

#include <Norvale/cJsonValue.h>

#include "json/VariantRules.h"
#include "json/cJsonParts.h"

#include <QtCore/QVariant>

#include <vector>

namespace {

#if defined(Q_OS_WIN)
constexpr int MaxVariantLevels = 2000; // the default stack of a thread is 1 MiB
#else
constexpr int MaxVariantLevels = 10000;
#endif

QVariant scalarToVariant(const cJsonValue& v)
{
    switch (v.type()) {
    case IntType:
        return v.toInt();
    case UIntType:
        return v.toUInt();
    case DoubleType:
        return v.toDouble();
    case StringType:
        return cJsonParts::string(v);
    case BooleanType:
        return v.toBool();
    default:
        return QVariant();
    }
}

/// An array or object on its way to a list or map.
struct ToVariantLevel
{
    const cJsonValue* value;
    int index;
    QMap<QString, cJsonValue>::const_iterator member;
    QVariantList list;
    QVariantMap map;
};

ToVariantLevel openLevel(const cJsonValue& v)
{
    return {&v, 0, cJsonParts::object(v).constBegin(), {}, {}};
}

/// The next element or member of @p level; null when there is none left.
const cJsonValue* nextChild(const ToVariantLevel& level)
{
    if (level.value->isArray())
        return level.index < cJsonParts::array(*level.value).size() ? &cJsonParts::array(*level.value).at(level.index)
                                                                    : nullptr;
    return level.member != cJsonParts::object(*level.value).constEnd() ? &level.member.value() : nullptr;
}

void addChild(ToVariantLevel& level, const QVariant& child)
{
    if (level.value->isArray()) {
        level.list.append(child);
        ++level.index;
    } else {
        level.map.insert(level.map.constEnd(), level.member.key(), child);
        ++level.member;
    }
}

} // namespace

QVariant cJsonValue::toVariant() const
{
    if (!isArray() && !isObject())
        return scalarToVariant(*this);
    std::vector<ToVariantLevel> levels{openLevel(*this)};
    for (;;) {
        ToVariantLevel& top = levels.back();
        const cJsonValue* const child = nextChild(top);
        if (!child) {
            const QVariant done = top.value->isArray() ? QVariant(top.list) : QVariant(top.map);
            levels.pop_back();
            if (levels.empty())
                return done;
            addChild(levels.back(), done);
        } else if (!child->isArray() && !child->isObject()) {
            addChild(top, scalarToVariant(*child));
        } else if (levels.size() >= size_t(MaxVariantLevels)) {
            addChild(top, QVariant());
        } else {
            levels.push_back(openLevel(*child));
        }
    }
}

/// A list or map on its way into a value.
struct cJsonParts::FromVariantLevel
{
    cJsonValue value;
    QVariantList list;
    QVariantMap map;
    int index = 0;
    QVariantMap::const_iterator member;
};

void cJsonParts::setScalar(cJsonValue& v, JsonValueType type)
{
    v.m_type = type;
    v.m_int = 0;
    v.m_uint = 0;
    v.m_double = 0;
    v.m_bool = false;
}

void cJsonParts::takeVariant(cJsonValue& v, const QVariant& from)
{
    if (VariantRules::isNull(from)) {
        setScalar(v, NullType);
    } else if (VariantRules::isConvertible(from, QMetaType::Int)) {
        setScalar(v, IntType);
        v.m_int = VariantRules::toInt(from);
    } else if (VariantRules::isConvertible(from, QMetaType::UInt)) {
        setScalar(v, UIntType);
        v.m_uint = from.toUInt();
    } else if (VariantRules::isConvertible(from, QMetaType::Double)) {
        setScalar(v, DoubleType);
        v.m_double = from.toDouble();
    } else if (VariantRules::isConvertible(from, QMetaType::QString)) {
        setScalar(v, StringType);
        v.m_string = from.toString();
    } else if (VariantRules::isConvertible(from, QMetaType::Bool)) {
        setScalar(v, BooleanType);
        v.m_bool = from.toBool();
    } else if (VariantRules::isConvertible(from, QMetaType::QVariantList)) {
        setScalar(v, ArrayType);
    } else {
        setScalar(v, VariantRules::isConvertible(from, QMetaType::QVariantMap) ? ObjectType : NullType);
    }
}

void cJsonParts::openLevel(FromVariantLevel& level, const QVariant& from)
{
    if (level.value.isArray())
        level.list = from.toList();
    else
        level.map = from.toMap();
    level.member = level.map.constBegin();
}

const QVariant* cJsonParts::nextChild(const FromVariantLevel& level)
{
    if (level.value.isArray())
        return level.index < level.list.size() ? &level.list.at(level.index) : nullptr;
    return level.member != level.map.constEnd() ? &level.member.value() : nullptr;
}

void cJsonParts::addChild(FromVariantLevel& level, cJsonValue&& child)
{
    if (level.value.isArray()) {
        level.value.m_array.append(std::move(child));
        ++level.index;
    } else {
        level.value.m_object.insert(level.member.key(), child);
        ++level.member;
    }
}

cJsonValue cJsonParts::fromVariant(cJsonValue&& start, const QVariant& v)
{
    takeVariant(start, v);
    if (!start.isArray() && !start.isObject())
        return std::move(start);
    std::vector<FromVariantLevel> levels(1);
    levels.back().value = std::move(start);
    openLevel(levels.back(), v);
    for (;;) {
        const QVariant* const child = nextChild(levels.back());
        if (!child) {
            cJsonValue done = std::move(levels.back().value);
            levels.pop_back();
            if (levels.empty())
                return done;
            addChild(levels.back(), std::move(done));
            continue;
        }
        cJsonValue value;
        takeVariant(value, *child);
        if (!value.isArray() && !value.isObject()) {
            addChild(levels.back(), std::move(value));
            continue;
        }
        levels.emplace_back();
        levels.back().value = std::move(value);
        openLevel(levels.back(), *child);
    }
}

void cJsonValue::fromVariant(const QVariant& v)
{
    *this = cJsonParts::fromVariant(std::move(*this), v);
}
