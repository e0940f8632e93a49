#pragma once

#include <QtCore/QString>

/// What the program says: answers go to standard output, reasons to standard error, both as UTF-8.
namespace Terminal {

/// Prints @p text and a line end on standard output.
void answer(const QString& text);

/// Prints "norvale: ", @p text and a line end on standard error.
void reason(const QString& text);

/// @p text with control characters shown as "?", so that a name out of a faulty file cannot play with the terminal.
QString harmless(QString text);

} // namespace Terminal
