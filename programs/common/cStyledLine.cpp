#include "common/cStyledLine.h"

#include "common/Terminal.h"

namespace {

// The parameters of the sequence "ESC [ ... m" (ECMA-48).
const char* parametersOf(Style style)
{
    switch (style) {
    case Style::Plain:
        break;
    case Style::Heading:
        return "1";
    case Style::Good:
        return "32";
    case Style::Warning:
        return "33";
    case Style::Error:
        return "31";
    }
    return "";
}

} // namespace

cStyledLine& cStyledLine::add(const QString& text, Style style)
{
    m_parts.append({text, style});
    return *this;
}

QString cStyledLine::text(bool isColored) const
{
    QString result;
    for (const Part& part : m_parts) {
        const QString text = Terminal::printable(part.text);
        if (isColored && part.style != Style::Plain && !text.isEmpty())
            result += QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(parametersOf(part.style)), text);
        else
            result += text;
    }
    return result;
}

cTextTable::cTextTable(const QStringList& headings) : m_styles(headings.size())
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

cStyledLines cTextTable::lines() const
{
    const QList<int> widths = this->widths();
    QStringList rule;
    for (const int width : widths)
        rule.append(QString(width, QLatin1Char('-')));
    cStyledLines lines{line(m_rows.first(), widths, true), cStyledLine(rule.join(QLatin1String("  ")))};
    for (int row = 1; row < m_rows.size(); ++row)
        lines.append(line(m_rows.at(row), widths, false));
    return lines;
}

QList<int> cTextTable::widths() const
{
    QList<int> widths;
    for (int column = 0; column < m_rows.first().size(); ++column) {
        int width = 0;
        for (const QStringList& row : m_rows)
            width = qMax(width, row.at(column).size());
        widths.append(width);
    }
    return widths;
}

cStyledLine cTextTable::line(const QStringList& cells, const QList<int>& widths, bool isHeading) const
{
    int last = cells.size() - 1; // behind which there are no blanks
    while (last > 0 && cells.at(last).isEmpty())
        --last;
    cStyledLine line;
    for (int column = 0; column <= last; ++column) {
        const QString& cell = cells.at(column);
        const StyleFunction style = m_styles.at(column);
        line.add(cell, isHeading ? Style::Heading : style ? style(cell) : Style::Plain);
        if (column < last)
            line.add(QString(widths.at(column) + 2 - cell.size(), QLatin1Char(' ')));
    }
    return line;
}
