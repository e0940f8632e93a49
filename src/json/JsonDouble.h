#pragma once

#include <QtCore/QByteArray>

/// Doubles as a text stream with default settings writes them: 6 significant digits, like `%g`.
namespace JsonDouble {

/// No text is longer: "-1.23457e-308".
constexpr int MaxSize = 16;

/**
 * Writes @p number to @p out, which has room for `MaxSize` bytes.
 * @return the end of what was written; null when the plain way is needed, which is so near the middle between two texts
 *         and for very large and very small numbers.
 */
char* write(double number, char* out);

/// The plain way: a text stream.
QByteArray plain(double number);

} // namespace JsonDouble
