#pragma once

class QString;

/// Hands one line to the debugger of the system, or to what stands for it there.
void writeDebuggerLine(const QString& line);
