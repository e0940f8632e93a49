#include "terminal/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

int Terminal::columns()
{
    constexpr int Usual = 80; // some terminals do not tell
    winsize size = {};
    if (!::isatty(STDERR_FILENO))
        return 0;
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : Usual;
}
