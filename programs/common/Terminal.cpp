#include "common/Terminal.h"

#include "common/System.h"
#include "version/Shown.h"

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <mutex>

namespace {

std::mutex s_lock; // around what is written, and what is drawn: log lines come from any thread
Terminal::Colors s_colors = Terminal::Colors::Auto;

// What NO_COLOR asks for holds for every program (no-color.org); what the command line says, for this run.
bool isColored(System::Stream stream)
{
    const bool hasColors = System::hasColors(stream);
    if (s_colors != Terminal::Colors::Auto)
        return s_colors == Terminal::Colors::Always;
    return hasColors && qEnvironmentVariableIsEmpty("NO_COLOR");
}

void write(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

// What is drawn now. Never destroyed: what is unloaded behind this program may still log.
QString& drawn()
{
    static auto* const line = new QString;
    return *line;
}

// Blanks and returns instead of escape sequences: every terminal knows them.
void draw(const QString& line)
{
    const QString blanks(qMax(0, drawn().size() - line.size()), QLatin1Char(' '));
    write(stderr, QLatin1Char('\r') + line + blanks + QLatin1Char('\r'));
    drawn() = line;
}

void print(std::FILE* stream, const QString& text)
{
    const std::lock_guard<std::mutex> locker(s_lock);
    const QString status = drawn();
    if (!status.isEmpty())
        draw(QString());
    write(stream, text + QLatin1Char('\n'));
    if (!status.isEmpty())
        draw(status);
}

// On standard error, as programs and compilers do: "PROGRAM: LEVEL: TEXT".
void say(const QString& level, Style style, const QString& text)
{
    cStyledLine line(QCoreApplication::applicationName() + QLatin1String(": "));
    print(stderr, line.add(level, style).add(text).text(isColored(System::Error)));
}

} // namespace

void Terminal::setColors(Colors colors)
{
    s_colors = colors;
}

void Terminal::answer(const QString& line)
{
    print(stdout, shown(line));
}

void Terminal::answer(const QStringList& lines)
{
    cStyledLines styled;
    for (const QString& line : lines)
        styled.append(cStyledLine(line));
    answer(styled);
}

void Terminal::answer(const cStyledLines& lines)
{
    const bool hasColors = isColored(System::Output);
    QStringList texts;
    for (const cStyledLine& line : lines)
        texts.append(line.text(hasColors));
    print(stdout, texts.join(QLatin1Char('\n')));
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

void Terminal::note(const QString& line)
{
    say(QString(), Style::Plain, line);
}

void Terminal::warning(const QString& line)
{
    say(QStringLiteral("warning: "), Style::Warning, line);
}

void Terminal::error(const QString& line)
{
    say(QStringLiteral("error: "), Style::Error, line);
}

void Terminal::status(const QString& line)
{
    const QString text = shown(line);
    const std::lock_guard<std::mutex> locker(s_lock);
    if (text != drawn() && System::terminalColumns() > 0)
        draw(text);
}

QString Terminal::printable(const QString& text)
{
    return shown(text);
}

QString Terminal::counted(qint64 number, const char* one, const char* many)
{
    return ::counted(number, one, many);
}
