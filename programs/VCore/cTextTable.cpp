#include "cTextTable.h"

#include "terminal/Terminal.h"

cTextTable::cTextTable(const QStringList& headings)
{
    m_rows.append(headings);
}

void cTextTable::addRow(const QStringList& cells)
{
    QStringList row;
    for (int column = 0; column < m_rows.first().size(); ++column) {
        const QString cell = Terminal::printable(cells.value(column));
        row.append(cell.isEmpty() ? QStringLiteral("-") : cell);
    }
    m_rows.append(row);
}

QString cTextTable::text() const
{
    QList<int> widths;
    QStringList rule;
    for (int column = 0; column < m_rows.first().size(); ++column) {
        int width = 0;
        for (const QStringList& row : m_rows)
            width = qMax(width, row.at(column).size());
        widths.append(width);
        rule.append(QString(width, QLatin1Char('-')));
    }
    QStringList lines;
    for (const QStringList& row : m_rows)
        lines.append(line(row, widths));
    lines.insert(1, line(rule, widths));
    return lines.join(QLatin1Char('\n'));
}

QString cTextTable::line(const QStringList& cells, const QList<int>& widths) const
{
    QString text;
    for (int column = 0; column < cells.size(); ++column)
        text += cells.at(column).leftJustified(widths.at(column) + 2);
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}
