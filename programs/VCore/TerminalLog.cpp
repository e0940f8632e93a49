#include "TerminalLog.h"

#include "cTerminalHook.h"

#include <Norvale/cLogCentral.h>

void TerminalLog::showReasons()
{
    static cTerminalHook hook;
    cLogCentral::addHook(&hook, "showLine");
    cLogCentral::setHooksOnly(true);
    cLogCentral::setDebuggerOutput(true);
}
