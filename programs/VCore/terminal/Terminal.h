#pragma once

#include <QtCore/QString>

/// What a program says: answers go to standard output, reasons to standard error, both as UTF-8.
namespace Terminal {

/// Prints @p text and a line end on standard output.
void answer(const QString& text);

/// Prints the name of the program, ": ", @p text and a line end on standard error.
void reason(const QString& text);

/**
 * Shows @p line below everything else on a terminal, in place of the one shown before; an empty one takes it away.
 * Where standard error is no terminal nothing is shown.
 */
void status(const QString& line);

/// Columns of the terminal that standard error is; 0 when it is none.
int columns();

/// @p text with "?" for its control characters, so that a name out of a faulty file cannot play with the terminal.
QString printable(QString text);

} // namespace Terminal
