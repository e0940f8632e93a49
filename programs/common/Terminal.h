#pragma once

#include "common/cStyledLine.h"

/// What a program says: answers go to standard output, notes, warnings and errors to standard error, all as UTF-8.
/// Whatever is said may hold names and phrases from outside, so that every line goes out as printable().
namespace Terminal {

/// When lines have colours.
enum class Colors {
    Auto,   // on a terminal that has them, unless the user's environment says no (NO_COLOR)
    Always, // wherever the lines go
    Never
};

void setColors(Colors colors);

/// Prints @p line on standard output; a line end in it is shown as such.
void answer(const QString& line);

/// Prints @p lines on standard output.
void answer(const QStringList& lines);
void answer(const cStyledLines& lines);

/// Prints a JSON document on standard output, on as many lines as it has. What printable() would show in a form of its
/// own goes out as the escapes of JSON, so that it stays what it was.
void answerJson(const QString& json);

/// Prints the name of the program, ": " and @p line on standard error.
void note(const QString& line);

/// The same with "warning: " before the line: what was asked for is done, but something is not as it should be.
void warning(const QString& line);

/// The same with "error: " before the line: what was asked for is not done, or not all of it.
void error(const QString& line);

/**
 * Shows @p line below everything else on a terminal, in place of the one shown before; an empty one takes it away.
 * Where standard error is no terminal nothing is shown.
 */
void status(const QString& line);

/// @p text on one line, so that nobody outside can play with the terminal; what that changes stands in version/Shown.h.
/// It is for who measures text or sets it in another form: what is printed need not be made printable before.
QString printable(const QString& text);

/// @p number with its noun, "1 plugin" or "2 plugins", by the one rule of version/Shown.h.
QString counted(qint64 number, const char* one, const char* many = nullptr);

} // namespace Terminal
