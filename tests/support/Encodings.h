#pragma once

#include <QtCore/QByteArrayList>
#include <QtCore/QTextStream>

/// What text streams write. By default that is the encoding of the locale on Qt 5, UTF-8 on Qt 6.
namespace Encodings {

/// The names of default encodings that can be had here.
QByteArrayList defaults();

/// Makes streams write that of the name by default; what they did at first, when it is empty.
void setDefault(const QByteArray& name);

/// Makes @p stream write Latin-1.
QTextStream& latin1(QTextStream& stream);

} // namespace Encodings
