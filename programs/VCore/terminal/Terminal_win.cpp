#include "terminal/Terminal.h"

#include <windows.h>

int Terminal::columns()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    return ::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &info) ? info.dwSize.X : 0;
}
