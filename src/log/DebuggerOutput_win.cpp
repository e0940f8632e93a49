#include "log/DebuggerOutput.h"

#include <QtCore/QString>
#include <QtCore/qt_windows.h>

void writeDebuggerLine(const QString& line)
{
    OutputDebugStringW(reinterpret_cast<const wchar_t*>(line.utf16()));
}
