#pragma once

#include "guard/cCrashReport.h"

/// What the parts of the crash handler have of each other: CrashHandler.cpp is common to all systems, each of the
/// others is that of one.
namespace CrashCatching {

/// Tells a crash in the slot and in a report. A crash of the same thread in the midst of it comes here as well, and
/// goes on with what is left to be told; other threads wait here for the end of the process. @p walk fills the frames.
/// @return the cause of the first crash, which the process is to end with.
qint32 tell(const cCrash& crash, void (*walk)(cCrash& crash));

/// A crash by abort() in the calling function, with its frames.
cCrash here();

/// Puts the handlers of the system in place, and back.
void catchAll();
void catchNothing();

/// Writes the report, or what is left to be written of it. It takes ten seconds at most: what has crashed may hold
/// locks.
void write();

/// Lets the calling thread wait until another one has ended the process.
[[noreturn]] void waitForEnd();

} // namespace CrashCatching
