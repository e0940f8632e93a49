#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// How a part of a line stands out on a terminal that has colours.
enum class Style {
    Plain,
    Heading, // bold
    Good,    // green
    Warning, // yellow
    Error    // red
};

/// A line of what a program says, whose parts may stand out. What it holds may come from outside: it is shown as
/// Terminal::printable(), and only the styles become sequences that a terminal obeys.
class cStyledLine
{
public:
    cStyledLine(const QString& text = QString(), Style style = Style::Plain) { add(text, style); }

    /// Adds @p text at the end. @return this line.
    cStyledLine& add(const QString& text, Style style = Style::Plain);

    /// The line as it is printed: with the sequences for its styles, or without any.
    QString text(bool isColored = false) const;

private:
    struct Part
    {
        QString text;
        Style style;
    };

    QList<Part> m_parts;
};

using cStyledLines = QList<cStyledLine>;

/// Sets rows of text in columns that are as wide as their widest cell. Cells are shown as Terminal::printable().
class cTextTable
{
public:
    /// How a cell with this text stands out.
    using StyleFunction = Style (*)(const QString& cell);

    explicit cTextTable(const QStringList& headings);

    /// Lets the cells of @p column (from 0) stand out by what they say.
    void setStyle(int column, StyleFunction style) { m_styles[column] = style; }

    /// Adds a row; missing cells are empty, surplus ones dropped. An empty cell shows as "-".
    void addRow(const QStringList& cells);

    /// The headings, a rule, and the rows, without trailing blanks.
    cStyledLines lines() const;

private:
    QList<int> widths() const;
    cStyledLine line(const QStringList& cells, const QList<int>& widths, bool isHeading) const;

    QList<QStringList> m_rows; // the headings first
    QVector<StyleFunction> m_styles;
};
