#include "ExitCode.h"

#include <QtCore/QStringList>

namespace {

struct Meaning
{
    ExitCode code;
    const char* text;
};

constexpr Meaning Meanings[] = {
    {ExitCode::Ok, "done; nothing that counts as an error was found"},
    {ExitCode::Faults, "the input breaks a rule; nothing was written"},
    {ExitCode::Usage, "the command line was not understood"},
    {ExitCode::ReadFailed, "a file or folder that was named cannot be read"},
    {ExitCode::WriteFailed, "a result could not be written; what was there before stands"},
    {ExitCode::Unreachable, "the site's description could not be fetched"},
    {ExitCode::NoGraphviz, "Graphviz's program dot is not there, or failed"},
    {ExitCode::Busy, "another run of this program is changing the site"},
};

} // namespace

QString exitCodeTable()
{
    QStringList lines;
    for (const Meaning& meaning : Meanings)
        lines.append(QStringLiteral("  %1  %2").arg(int(meaning.code)).arg(QLatin1String(meaning.text)));
    return lines.join(QLatin1Char('\n'));
}
