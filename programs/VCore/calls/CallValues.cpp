#include "calls/CallValues.h"

#include "version/MetaTypes.h"
#include "wire/WireText.h"

#include <QtCore/QAssociativeIterable>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QSequentialIterable>
#include <QtCore/QStringList>

#include <cmath>
#include <limits>

namespace CallValues {
namespace {

// Readers of JSON take numbers as doubles, which tell integers apart up to here; larger ones travel as text.
constexpr qlonglong MaxExactInteger = Q_INT64_C(9007199254740992);

QString textOf(const cJsonValue& json)
{
    if (json.isInt())
        return QString::number(json.toInt());
    if (json.isUInt())
        return QString::number(json.toUInt());
    if (json.isDouble())
        return QString::number(json.toDouble(), 'g', std::numeric_limits<double>::max_digits10);
    if (json.isBoolean())
        return json.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    return json.toString();
}

template <typename Wide>
bool wholeNumber(const cJsonValue& json, Fit fit, Wide* number)
{
    if (json.isNumber()) {
        const double value = json.toDouble();
        if (std::floor(value) != value || std::fabs(value) > double(MaxExactInteger))
            return false;
        if (value < 0 && !std::numeric_limits<Wide>::is_signed)
            return false;
        *number = Wide(value);
        return true;
    }
    if (fit == Exact || !json.isString())
        return false;
    bool ok = false;
    *number = std::numeric_limits<Wide>::is_signed ? Wide(json.toString().toLongLong(&ok))
                                                   : Wide(json.toString().toULongLong(&ok));
    return ok;
}

template <typename Number>
bool makeInteger(const cJsonValue& json, int type, Fit fit, QVariant* value)
{
    using Wide = std::conditional_t<std::numeric_limits<Number>::is_signed, qlonglong, qulonglong>;
    Wide wide = 0;
    if (!wholeNumber(json, fit, &wide))
        return false;
    const Number number = Number(wide);
    if (Wide(number) != wide)
        return false;
    *value = MetaTypes::value(type, &number);
    return true;
}

bool makeReal(const cJsonValue& json, int type, Fit fit, QVariant* value)
{
    bool ok = json.isDouble() || (json.isNumber() && fit == Converted);
    double number = json.toDouble();
    if (json.isString() && fit == Converted)
        number = json.toString().toDouble(&ok);
    *value = number;
    return ok && MetaTypes::convert(*value, type);
}

bool makeBool(const cJsonValue& json, Fit fit, QVariant* value)
{
    if (json.isBoolean()) {
        *value = json.toBool();
        return true;
    }
    const QString text = textOf(json);
    const bool isTrue = text == QLatin1String("true") || text == QLatin1String("1");
    *value = isTrue;
    return fit == Converted && (isTrue || text == QLatin1String("false") || text == QLatin1String("0"));
}

bool makeText(const cJsonValue& json, Fit fit, QVariant* value)
{
    *value = textOf(json);
    return json.isString() || (fit == Converted && (json.isNumber() || json.isBoolean()));
}

// The JSON kind that a container is made from, given itself or as its text.
bool containerOf(const cJsonValue& json, JsonValueType kind, Fit fit, cJsonValue* out)
{
    *out = json;
    if (json.isString() && fit == Converted && !WireText::read(json.toUtf8(), out))
        return false;
    return out->type() == kind;
}

bool makeStringList(const cJsonValue& json, Fit fit, QVariant* value)
{
    cJsonValue array;
    if (!containerOf(json, ArrayType, fit, &array))
        return false;
    QStringList list;
    for (int i = 0; i < int(array.size()); ++i) {
        QVariant text;
        if (!makeText(qAsConst(array)[i], fit, &text))
            return false;
        list.append(text.toString());
    }
    *value = list;
    return true;
}

// Through Qt's JSON, which is bounded in depth: a variant nested without bound could not even be destroyed.
bool makeVariant(const cJsonValue& json, QVariant* value)
{
    QJsonValue bounded;
    if (!WireText::toQt(json, &bounded))
        return false;
    *value = bounded.toVariant();
    return true;
}

bool makeContainer(const cJsonValue& json, JsonValueType kind, int type, Fit fit, QVariant* value)
{
    cJsonValue container;
    return containerOf(json, kind, fit, &container) && makeVariant(container, value) &&
           MetaTypes::convert(*value, type);
}

// Whatever else Qt can make of a scalar: a URL, a date, a registered enumeration, a type with a converter of its own.
bool makeOther(const cJsonValue& json, int type, Fit fit, QVariant* value)
{
    if (fit == Exact || json.isArray() || json.isObject() || json.isNull() || !makeVariant(json, value))
        return false;
    return MetaTypes::canConvert(*value, type) && MetaTypes::convert(*value, type);
}

QJsonValue integerToJson(qlonglong number)
{
    if (number >= -MaxExactInteger && number <= MaxExactInteger)
        return number;
    return QString::number(number);
}

QJsonValue integerToJson(qulonglong number)
{
    if (number <= qulonglong(MaxExactInteger))
        return qlonglong(number);
    return QString::number(number);
}

bool listToJson(const QVariant& value, QJsonValue* json, int depth)
{
    QJsonArray array;
    const auto elements = value.value<QSequentialIterable>();
    for (const QVariant& element : elements) {
        QJsonValue item;
        if (!toJson(element, &item, depth + 1))
            return false;
        array.append(item);
    }
    *json = array;
    return true;
}

bool mapToJson(const QVariant& value, QJsonValue* json, int depth)
{
    QJsonObject object;
    const auto members = value.value<QAssociativeIterable>();
    for (auto it = members.begin(); it != members.end(); ++it) {
        QJsonValue member;
        if (!toJson(it.value(), &member, depth + 1))
            return false;
        object.insert(it.key().toString(), member);
    }
    *json = object;
    return true;
}

bool otherToJson(const QVariant& value, QJsonValue* json, int depth)
{
    if (value.userType() == qMetaTypeId<cJsonValue>())
        return WireText::toQt(value.value<cJsonValue>(), json, depth);
    if (value.canConvert<QVariantMap>())
        return mapToJson(value, json, depth);
    if (value.canConvert<QVariantList>())
        return listToJson(value, json, depth);
    QVariant text = value;
    if (!MetaTypes::convert(text, QMetaType::QString))
        return false;
    *json = text.toString();
    return true;
}

} // namespace

bool fromJson(const cJsonValue& json, int type, Fit fit, QVariant* value)
{
    switch (type) {
    case QMetaType::UnknownType:
        return false;
    case QMetaType::QString:
        return makeText(json, fit, value);
    case QMetaType::Bool:
        return makeBool(json, fit, value);
    case QMetaType::Short:
        return makeInteger<short>(json, type, fit, value);
    case QMetaType::UShort:
        return makeInteger<ushort>(json, type, fit, value);
    case QMetaType::Int:
        return makeInteger<int>(json, type, fit, value);
    case QMetaType::UInt:
        return makeInteger<uint>(json, type, fit, value);
    case QMetaType::Long:
        return makeInteger<long>(json, type, fit, value);
    case QMetaType::ULong:
        return makeInteger<ulong>(json, type, fit, value);
    case QMetaType::LongLong:
        return makeInteger<qlonglong>(json, type, fit, value);
    case QMetaType::ULongLong:
        return makeInteger<qulonglong>(json, type, fit, value);
    case QMetaType::Float:
    case QMetaType::Double:
        return makeReal(json, type, fit, value);
    case QMetaType::QByteArray:
        *value = textOf(json).toUtf8();
        return fit == Converted && json.isString();
    case QMetaType::QStringList:
        return makeStringList(json, fit, value);
    case QMetaType::QVariantList:
        return makeContainer(json, ArrayType, type, fit, value);
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return makeContainer(json, ObjectType, type, fit, value);
    case QMetaType::QVariant:
        return fit == Converted && makeVariant(json, value);
    default:
        break;
    }
    if (type == qMetaTypeId<cJsonValue>()) {
        *value = QVariant::fromValue(json);
        return fit == Converted;
    }
    return makeOther(json, type, fit, value);
}

bool toJson(const QVariant& value, QJsonValue* json, int depth)
{
    if (depth > WireText::MaxDepth)
        return false;
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::Void:
    case QMetaType::Nullptr:
        *json = QJsonValue::Null;
        return true;
    case QMetaType::Bool:
        *json = value.toBool();
        return true;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
        *json = integerToJson(value.toLongLong());
        return true;
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        *json = integerToJson(value.toULongLong());
        return true;
    case QMetaType::Float:
    case QMetaType::Double:
        *json = value.toDouble();
        return true;
    case QMetaType::QString:
        *json = value.toString();
        return true;
    case QMetaType::QByteArray:
        *json = QString::fromUtf8(value.toByteArray());
        return true;
    case QMetaType::QDateTime:
        *json = value.toDateTime().toString(Qt::ISODateWithMs);
        return true;
    default:
        return otherToJson(value, json, depth);
    }
}

} // namespace CallValues
