#include "TerminalLog.h"

#include "cTerminalHook.h"

#include <Norvale/cLogCentral.h>

// The debugger output of the library is invisible on a terminal here; a hook sees the same lines.
void TerminalLog::show()
{
    static cTerminalHook hook;
    cLogCentral::addHook(&hook, "showLine");
    cLogCentral::setDebuggerOutput(true);
}
