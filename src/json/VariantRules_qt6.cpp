#include "json/VariantRules.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonValue>
#include <QtCore/QStringList>
#include <QtCore/QUuid>

#include <cmath>

namespace {

template <typename... Types>
bool isNullOf(const QVariant& value)
{
    const auto isNull = [&value](auto null) {
        using Type = decltype(null);
        return value.userType() == qMetaTypeId<Type>() && static_cast<const Type*>(value.constData())->isNull();
    };
    return (isNull(Types()) || ...);
}

} // namespace

// Of the types that can be converted to anything in JSON.
bool VariantRules::isNull(const QVariant& value)
{
    return value.isNull() || isNullOf<QString, QByteArray, QChar, QDate, QTime, QDateTime, QUuid, QJsonValue>(value);
}

bool VariantRules::isConvertible(const QVariant& value, QMetaType::Type type)
{
    if (type == QMetaType::QString && value.userType() == QMetaType::QStringList)
        return value.toStringList().size() == 1;
    return value.canConvert(QMetaType(type));
}

int VariantRules::toInt(const QVariant& value)
{
    constexpr double Exact = Q_INT64_C(1) << 53; // from there on there are no halves
    const int type = value.userType();
    const double number = value.toDouble();
    if (type == QMetaType::QJsonValue && std::abs(number) < Exact)
        return int(qint64(number));
    if ((type != QMetaType::Double && type != QMetaType::Float) || number >= 0 || !(number > -Exact))
        return value.toInt();
    const qint64 below = qint64(number - 1);
    return int(qint64(number - double(below) + 0.5) + below);
}
