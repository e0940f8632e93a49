#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// The encoding that a text stream with default settings writes: that of the locale on Qt 5, UTF-8 on Qt 6.
namespace StreamEncoding {

/// Whether text in ASCII is the same bytes in it.
bool keepsAscii();

/// Encodes @p text, in which each surrogate has its other half. @return false where the bytes may depend on what stands
/// before it.
bool encode(const QString& text, QByteArray& bytes);

} // namespace StreamEncoding
