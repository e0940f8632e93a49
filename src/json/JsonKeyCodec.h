#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// The encoding of the locale, in which a text stream with default settings writes; the only place that knows its
/// class.
namespace JsonKeyCodec {

/// Whether text in ASCII is the same bytes in it.
bool keepsAscii();

/**
 * Encodes @p key as a stream would, wherever in the text it stands.
 * @return false where that depends on what stands beside it, or is not known.
 */
bool encode(const QString& key, QByteArray& bytes);

} // namespace JsonKeyCodec
