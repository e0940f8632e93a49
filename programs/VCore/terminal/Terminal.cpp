#include "terminal/Terminal.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

namespace {

QString s_status; ///< what is shown now

void write(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

// Blanks and returns instead of escape sequences: every terminal knows them.
void draw(const QString& line)
{
    const QString blanks(qMax(0, s_status.size() - line.size()), QLatin1Char(' '));
    write(stderr, QLatin1Char('\r') + line + blanks + QLatin1Char('\r'));
    s_status = line;
}

void print(std::FILE* stream, const QString& line)
{
    const QString status = s_status;
    if (!status.isEmpty())
        draw(QString());
    write(stream, line + QLatin1Char('\n'));
    if (!status.isEmpty())
        draw(status);
}

} // namespace

void Terminal::answer(const QString& text)
{
    print(stdout, text);
}

void Terminal::reason(const QString& text)
{
    print(stderr, QCoreApplication::applicationName() + QLatin1String(": ") + text);
}

void Terminal::status(const QString& line)
{
    if (line != s_status && columns() > 0)
        draw(line);
}

QString Terminal::printable(QString text)
{
    for (QChar& character : text)
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char('?');
    return text;
}
