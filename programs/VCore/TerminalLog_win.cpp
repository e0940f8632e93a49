#include "TerminalLog.h"

#include <Norvale/cLogCentral.h>

// The debugger output of the library is invisible on a terminal here; a hook sees the same lines.
void TerminalLog::show()
{
    showReasons();
    cLogCentral::setHooksOnly(false);
}
