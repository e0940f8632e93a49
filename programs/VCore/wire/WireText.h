#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>

class cJsonValue;

/**
 * JSON between the wire and the two JSON models of the host.
 *
 * What comes in is read by the library, since its handlers want its values; the reader takes bytes as Latin-1, so UTF-8
 * is turned into escapes before. What the host says itself is written by Qt, since it must be JSON for any reader:
 * the library's writer keeps six digits of a number and does not escape names.
 */
namespace WireText {

/// Nesting that is carried over between models; deeper values are refused.
constexpr int MaxDepth = 256;

/// The member by which the client knows the answers to its request: each repeats it.
inline const QString RequestMember = QStringLiteral("request");

/// Reads @p payload, JSON in UTF-8. @return false when it is none.
[[nodiscard]] bool read(const QByteArray& payload, cJsonValue* value);

/// Writes @p object compactly in UTF-8.
QByteArray write(const QJsonObject& object);

/// Copies @p value. @return false when it is nested deeper than #MaxDepth.
[[nodiscard]] bool toQt(const cJsonValue& value, QJsonValue* out, int depth = 0);

/// The "command" of @p message; empty when it is no object or has none.
QString commandOf(const cJsonValue& message);

/// The member @p name of @p message; null when it is no object or has none.
const cJsonValue& memberOf(const cJsonValue& message, const QString& name);

} // namespace WireText
