#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>

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

/// @p text with "?" for its control characters, so that a name out of a faulty file cannot play with the terminal.
QString printable(QString text);

} // namespace Terminal

/// Sets rows of text in columns that are as wide as their widest cell. Cells are shown as Terminal::printable().
class cTextTable
{
public:
    explicit cTextTable(const QStringList& headings);

    /// Adds a row; missing cells are empty, surplus ones dropped. An empty cell shows as "-".
    void addRow(const QStringList& cells);

    /// The headings, a rule, and the rows, without trailing blanks and without a line end after the last.
    QString text() const;

private:
    QString line(const QStringList& cells, const QList<int>& widths) const;

    QList<QStringList> m_rows; // the headings first
};
