#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

/// What JSON is made of a QVariant goes by the rules of Qt 5, from which Qt 6 has departed.
namespace VariantRules {

/// Whether there is no value, or one that its type calls null.
bool isNull(const QVariant& value);

/// A list of texts is a text only where it has but one.
bool isConvertible(const QVariant& value, QMetaType::Type type);

/// Halves are rounded up.
int toInt(const QVariant& value);

} // namespace VariantRules
