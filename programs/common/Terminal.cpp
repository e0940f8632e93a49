#include "common/Terminal.h"

#include "common/System.h"
#include "version/Shown.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

namespace {

QString s_status; // what is shown now

void write(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

QString shownLines(const QStringList& lines)
{
    QStringList result;
    for (const QString& line : lines)
        result.append(shown(line));
    return result.join(QLatin1Char('\n'));
}

// Blanks and returns instead of escape sequences: every terminal knows them.
void draw(const QString& line)
{
    const QString blanks(qMax(0, s_status.size() - line.size()), QLatin1Char(' '));
    write(stderr, QLatin1Char('\r') + line + blanks + QLatin1Char('\r'));
    s_status = line;
}

void print(std::FILE* stream, const QString& text)
{
    const QString status = s_status;
    if (!status.isEmpty())
        draw(QString());
    write(stream, text + QLatin1Char('\n'));
    if (!status.isEmpty())
        draw(status);
}

} // namespace

void Terminal::answer(const QString& line)
{
    print(stdout, shown(line));
}

void Terminal::answer(const QStringList& lines)
{
    print(stdout, shownLines(lines));
}

void Terminal::answerJson(const QString& json)
{
    QString text;
    for (const QChar character : json) {
        if (isShownEscaped(character) && character != QLatin1Char('\n'))
            text += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        else
            text += character;
    }
    print(stdout, text);
}

void Terminal::reason(const QString& line)
{
    print(stderr, QCoreApplication::applicationName() + QLatin1String(": ") + shown(line));
}

void Terminal::status(const QString& line)
{
    const QString text = shown(line);
    if (text != s_status && System::terminalColumns() > 0)
        draw(text);
}

QString Terminal::printable(const QString& text)
{
    return shown(text);
}

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

QStringList cTextTable::lines() const
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
    return lines;
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
