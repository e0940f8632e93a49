#include "json/VariantRules.h"

bool VariantRules::isNull(const QVariant& value)
{
    return value.isNull();
}

bool VariantRules::isConvertible(const QVariant& value, QMetaType::Type type)
{
    return value.canConvert(int(type));
}

int VariantRules::toInt(const QVariant& value)
{
    return value.toInt();
}
