#include "calls/ResultValue.h"

#include "calls/JsonMetaType.h"
#include "wire/WireText.h"

#include <QtCore/QAssociativeIterable>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QSequentialIterable>

namespace {

// Readers of JSON take numbers as doubles, which tell integers apart up to here; larger ones travel as text.
constexpr qlonglong MaxExactInteger = Q_INT64_C(9007199254740992);

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
        if (!ResultValue::toJson(element, &item, depth + 1))
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
        if (!ResultValue::toJson(it.value(), &member, depth + 1))
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
    if (value.canConvert(QMetaType::QVariantMap))
        return mapToJson(value, json, depth);
    if (value.canConvert(QMetaType::QVariantList))
        return listToJson(value, json, depth);
    QVariant text = value;
    if (!text.convert(QMetaType::QString))
        return false;
    *json = text.toString();
    return true;
}

} // namespace

bool ResultValue::toJson(const QVariant& value, QJsonValue* json, int depth)
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
