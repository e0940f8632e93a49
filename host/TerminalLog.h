#pragma once

/// Lets the log reach the terminal, so that whoever starts the program sees why something failed.
namespace TerminalLog {

/// From now on the lines of all log channels appear on standard error (on Windows: the warnings and errors).
void show();

} // namespace TerminalLog
