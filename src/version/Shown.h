#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

// How text from outside (names out of files, answers of servers, messages of other processes) is shown: in the log, on
// terminals, in graphs. Whoever shows it asks this one place. Any thread.

/// Whether a terminal, or whoever reads a line, could take @p character for something else than what it is: a control
/// character, DEL, a line end of any kind, or one that changes the direction of the text around it.
[[nodiscard]] bool isShownEscaped(QChar character);

/// @p text on one line, letter by letter, with such characters as "\n", "\r", "\t", "\xHH" or "\u{HHHH}". A backslash
/// stays as it is, so that paths do, and showing twice is showing once.
[[nodiscard]] QString shown(const QString& text);

/// @p number with the noun that goes with it: "1 plugin", "2 plugins", "0 plugins". @p many is for nouns whose plural
/// is not @p one with an "s".
[[nodiscard]] QString counted(qint64 number, const char* one, const char* many = nullptr);

/// The name of @p known that @p written looks like a misspelling of: one letter in three differs at most, by another, a
/// missing, a further or two exchanged ones; the case of letters does not count. Empty when none is near enough.
[[nodiscard]] QString nearestName(const QString& written, const QStringList& known);
