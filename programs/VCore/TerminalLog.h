#pragma once

/// Lets the log reach the terminal, so that whoever starts the program sees why something failed.
namespace TerminalLog {

/// From now on the lines of all log channels appear on standard error (on Windows: as showReasons()).
void show();

/// From now on the warnings and errors of all log channels appear on standard error, as reasons of this program. They
/// and what Terminal::status() shows do not get into each other's way.
void showReasons();

} // namespace TerminalLog
