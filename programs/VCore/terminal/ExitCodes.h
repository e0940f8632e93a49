#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstddef>

/// What one exit code of a program means.
template <typename Code>
struct cExitMeaning
{
    Code code;
    const char* text;
};

/// The codes with their meanings, a line each, as a help text shows them.
template <typename Code, std::size_t Count>
QString exitCodeLines(const cExitMeaning<Code> (&meanings)[Count])
{
    QStringList lines;
    for (const cExitMeaning<Code>& meaning : meanings)
        lines.append(QStringLiteral("  %1  %2").arg(int(meaning.code), 2).arg(QLatin1String(meaning.text)));
    return lines.join(QLatin1Char('\n'));
}
