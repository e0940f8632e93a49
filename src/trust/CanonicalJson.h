#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

#include <optional>

// The JSON of signed metadata: read with bounds, and written in the one form that signatures are made over.

namespace CanonicalJson {

/// Reads an object; in any form, as signatures are not over the text. @return nothing when it is not one, is nested too
/// deep or too large (cJsonBounds), or has a member twice, a number that is not a whole one of 64 bits ("1.0" and
/// "1e3", too), or half of a surrogate pair; @p error then tells why, with the place in the text.
[[nodiscard]] std::optional<QJsonObject> read(const QByteArray& text, QString* error);

/// The canonical form: members in the order of their names, no blanks, strings as UTF-8 with only the quote and the
/// backslash escaped, whole numbers only. @return nothing when @p value has another number.
[[nodiscard]] std::optional<QByteArray> write(const QJsonValue& value);

/// @p value as a whole number of 64 bits, exactly; nothing when it is none.
[[nodiscard]] std::optional<qint64> integer(const QJsonValue& value);

} // namespace CanonicalJson
