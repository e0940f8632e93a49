#pragma once

#include <QtCore/QString>

/// What the program says: answers go to standard output, reasons to standard error, both as UTF-8.
namespace Terminal {

/// Prints @p text and a line end on standard output.
void answer(const QString& text);

/// Prints "VCore: ", @p text and a line end on standard error.
void reason(const QString& text);

} // namespace Terminal
