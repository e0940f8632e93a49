#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>

/// What a program says: answers go to standard output, reasons to standard error, both as UTF-8. Whatever is said may
/// hold names and phrases from outside, so that every line goes out as printable().
namespace Terminal {

/// Prints @p line on standard output; a line end in it is shown as such.
void answer(const QString& line);

/// Prints @p lines on standard output.
void answer(const QStringList& lines);

/// Prints a JSON document on standard output, on as many lines as it has. What printable() would show in a form of its
/// own goes out as the escapes of JSON, so that it stays what it was.
void answerJson(const QString& json);

/// Prints the name of the program, ": " and @p line on standard error.
void reason(const QString& line);

/**
 * Shows @p line below everything else on a terminal, in place of the one shown before; an empty one takes it away.
 * Where standard error is no terminal nothing is shown.
 */
void status(const QString& line);

/// @p text on one line, so that nobody outside can play with the terminal; what that changes stands in version/Shown.h.
/// It is for who measures text or sets it in another form: what is printed need not be made printable before.
QString printable(const QString& text);

} // namespace Terminal

/// Sets rows of text in columns that are as wide as their widest cell. Cells are shown as Terminal::printable().
class cTextTable
{
public:
    explicit cTextTable(const QStringList& headings);

    /// Adds a row; missing cells are empty, surplus ones dropped. An empty cell shows as "-".
    void addRow(const QStringList& cells);

    /// The headings, a rule, and the rows, without trailing blanks.
    QStringList lines() const;

private:
    QString line(const QStringList& cells, const QList<int>& widths) const;

    QList<QStringList> m_rows; // the headings first
};
