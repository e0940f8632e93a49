#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>

/// Sets rows of text in columns that are as wide as their widest cell. Control characters are shown as "?", so that a
/// name out of a faulty file cannot play with the terminal.
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

    QList<QStringList> m_rows; ///< the headings first
};
