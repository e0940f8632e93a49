#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Strings as JSON text in ASCII: each unit above 127 as an escape, also each half of a pair.
namespace JsonEscape {

/// The most bytes that a unit becomes.
constexpr int MaxUnit = 6;

/// Bytes behind the last one that `write` and `copyAscii` may overwrite.
constexpr int Slack = 16;

/// Writes @p count units escaped to @p out, which has room for `MaxUnit` bytes each and `Slack`. @return the end.
char* write(const QChar* units, int count, char* out);

/// The plain way: replacements over the whole text, then a walk over its units.
QByteArray plain(QString text);

/// Copies @p count units that are all ASCII to @p out, which has room for them and `Slack`. @return the end, null if
/// one is not.
char* copyAscii(const QChar* units, int count, char* out);

} // namespace JsonEscape
