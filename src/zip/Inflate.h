#pragma once

#include <QtCore/QByteArray>

class QString;

/// Raw deflate streams (without a zlib or gzip header), as the entries of a zip archive have them.
namespace Inflate {

/// Inflates a whole stream of at most @p limit bytes. Memory grows with what comes out, never beyond the limit; bytes
/// after the end of the stream are ignored.
/// @param error if not null, receives why it failed: a damaged stream, one that is cut off, or one above the limit.
/// @return whether @p out holds the whole stream; it is empty otherwise.
bool inflateRaw(const QByteArray& in, qint64 limit, QByteArray* out, QString* error);

/// Inflates a stream as an archive's entry does it, starting with a buffer of @p expectedSize bytes that is doubled
/// while input is left. @return empty for a stream that is damaged or cut off, or larger than a byte array.
QByteArray inflateEntry(const char* in, int inSize, quint32 expectedSize);

} // namespace Inflate
