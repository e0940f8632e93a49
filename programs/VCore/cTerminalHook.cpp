#include "cTerminalHook.h"

#include "terminal/Terminal.h"

void cTerminalHook::showLine(const QString& channel, Qt::HANDLE, const QDateTime&, debugType level,
                             const QString& message)
{
    if (level != debugInfo)
        Terminal::reason(QStringLiteral("%1: %2").arg(channel, message.trimmed()));
}
