#include "ExitCode.h"

#include "terminal/ExitCodes.h"

namespace {

constexpr cExitMeaning<ExitCode> Meanings[] = {
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
    return exitCodeLines(Meanings);
}
