#include "TerminalLog.h"

#include <Norvale/cLogCentral.h>

// The debugger output of the library is standard error here.
void TerminalLog::show()
{
    cLogCentral::setDebuggerOutput(true);
}
