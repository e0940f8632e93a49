#pragma once

#include <Norvale/IInstallMgr.h>

/// All that an install says for people.
inline QString told(const cInstallOutcome& outcome)
{
    QStringList texts;
    if (!outcome.reason.isEmpty())
        texts << outcome.reason;
    for (const cInstallOutcome::cLeftOut& feature : outcome.leftOut)
        texts << feature.name + " " + feature.version.toString() + ": " + feature.reason;
    if (!outcome.failedCommands.isEmpty())
        texts << "commands: " + outcome.failedCommands.join(", ");
    return texts.join('\n');
}
