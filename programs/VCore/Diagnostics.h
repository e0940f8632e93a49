#pragma once

#include <functional>

/// Lets whoever starts the program see why something failed: the log on the terminal, and a clear end instead of a
/// crash.
namespace Diagnostics {

/// From now on the lines of all log channels appear on standard error the moment they are written: errors and warnings
/// as those of this program, all others as notes.
void showLog();

/// From now on the errors and warnings of all log channels do so.
void showReasons();

/// From now on a fatal condition of the framework ends the process with ExitCode::Fatal: the message goes to standard
/// error, and what setLastAct() has set is done.
void catchFatalMessages();

/// Sets what is done before a fatal end, if that comes from the main thread; an empty function for nothing.
void setLastAct(const std::function<void()>& act);

} // namespace Diagnostics
