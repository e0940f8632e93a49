#pragma once

#include <QtCore/QJsonValue>
#include <QtCore/QVariant>

/// Turns what a service method returned into JSON, by its type.
namespace ResultValue {

/**
 * Texts stay texts, whatever they look like; bytes are shown as UTF-8, times in ISO form, lists and maps element by
 * element, other types by their own conversion to text.
 * @return false when the type has no JSON form, or the value is nested deeper than WireText::MaxDepth.
 */
[[nodiscard]] bool toJson(const QVariant& value, QJsonValue* json, int depth = 0);

} // namespace ResultValue
