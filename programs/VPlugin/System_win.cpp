#include "System.h"

#include <windows.h>

// The suite speaks at once.
void waitForSuite(qintptr connection)
{
    DWORD size = 0;
    while (PeekNamedPipe(reinterpret_cast<HANDLE>(connection), nullptr, 0, nullptr, &size, nullptr) && size == 0)
        Sleep(1);
}
