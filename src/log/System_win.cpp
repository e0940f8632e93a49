#include "log/LineText.h"

#include <QtCore/qt_windows.h>

void writeDebuggerLine(const QString& line)
{
    OutputDebugStringW(reinterpret_cast<const wchar_t*>(line.utf16()));
}
