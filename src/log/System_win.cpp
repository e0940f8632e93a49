#include "log/LineText.h"

#include <QtCore/qt_windows.h>

const char* LineText::end()
{
    return "\r\n";
}

void writeDebuggerLine(const QString& line)
{
    OutputDebugStringW(reinterpret_cast<const wchar_t*>(line.utf16()));
}
