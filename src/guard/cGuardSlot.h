#pragma once

#include <QtCore/QtGlobal>

#include <type_traits>

/**
 * What the process does with a plugin right now, as it stands in the guard's file: plain bytes of a fixed size in a
 * memory-mapped file, so that they outlive the process however it ends.
 *
 * The main thread writes it in place at the begin and end of each step. A crash handler and the watchdog write only
 * what is said below. The step is written last when a step begins and first when it ends: where it stands, the rest
 * is whole.
 */
struct cGuardSlot
{
    enum Step : quint32 { None, Load, Start, Stop, Running }; // as in cPluginFailure
    enum End : quint32 { Unknown, Crashed, Hung };            // as in cPluginFailure

    static constexpr int NameSize = 272; // a plugin's folder has the name, and no system has longer names than 255

    // What a step writes stands side by side, in one line of the cache but for long names: every start waits for it.
    char magic[8];      // Magic
    qint64 boot;        // when the machine was started, ms since 1970 UTC, see cGuardFile::isOfThisBoot()
    qint64 began;       // of the step, ms since 1970 UTC; a handler that sets Running sets it, too
    quint32 step;       // Step; None: nothing to tell. A handler may set Running, with the plugin
    quint32 end;        // End; Crashed by a handler, Hung by the watchdog. What is Hung stays so when it is aborted
    quint32 inARow;     // failures before this one, at the same plugin
    quint32 toldInARow; // of the last failure that was told; 0: the plugin has passed the step since, or there was none
    char plugin[NameSize]; // "Name-1.02.003", UTF-8, zero at the end

    qint32 cause;              // a signal's number, on Windows an exception's code; set by a handler with Crashed
    quint32 toldStep;          // as step, of the last failure that was told
    char toldPlugin[NameSize]; // as plugin, of the same
    char report[64];           // the report's name in the folder "crashes", zero at the end; set by a handler

    static constexpr char Magic[] = {'N', 'V', 'G', 'U', 'A', 'R', 'D', '3'};
};

static_assert(std::is_trivially_copyable_v<cGuardSlot> && std::is_standard_layout_v<cGuardSlot>);
static_assert(sizeof(cGuardSlot::magic) == sizeof(cGuardSlot::Magic));
