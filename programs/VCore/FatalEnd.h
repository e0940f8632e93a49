#pragma once

#include <functional>

/**
 * Turns the fatal conditions of the framework into a clear end: the message goes to standard error, what must not be
 * lost is saved, and the process ends with ExitCode::Fatal instead of a crash.
 */
namespace FatalEnd {

/// Catches fatal messages from now on.
void install();

/// Sets what is done before a fatal end, if that comes from the main thread; an empty function for nothing.
void setLastAct(const std::function<void()>& act);

} // namespace FatalEnd
