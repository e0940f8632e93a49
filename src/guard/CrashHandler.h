#pragma once

#include <QtCore/QString>

#include <atomic>

struct cGuardSlot;

/**
 * Catches the end of the process by a crash: the slot of the guard is marked, a report is written, and the process ends
 * as it would have ended without.
 *
 * A crash is a signal (on Windows an exception of the system), abort(), an exception that nobody catches, and a fatal
 * message that has to do with a plugin. What stood in these places before comes after the report, and is back after
 * remove(). All is called from the main thread.
 */
namespace CrashHandler {

/// Catches crashes from now on.
/// @param slot is marked; not owned, and must live until remove(). May be null.
/// @param folder where reports are written, made when it is absent; the newest ten are kept there.
void install(cGuardSlot* slot, const QString& folder);

/// Catches nothing any more. Does nothing where install() has not been called.
void remove();

/// Whether a crash is being told right now: then the slot belongs to the handler, which sets this. Any thread.
inline std::atomic<bool> hasBegun{false};

/// Ends the process, whose main thread hangs, as abort() in that thread would: its stack is what the report tells. To
/// be called from another thread.
[[noreturn]] void abortMainThread();

/// How people call the cause of a crash in a slot: "SIGSEGV", or a number.
QString causeText(qint32 cause);

} // namespace CrashHandler
