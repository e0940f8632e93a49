#pragma once

#include "guard/CrashSystem.h"
#include "guard/cGuardSlot.h"

#include <QtCore/QString>

/**
 * The report of a crash, and the mark in the guard's slot.
 *
 * What it says of the process is made ready beforehand, in fixed memory: from the crash on only such functions are
 * called as a signal handler may call. It is written in stages. A crash in one of them is met by the next one, so that
 * a stack that cannot be followed takes nothing else with it.
 *
 * There is one in a process. The handler sees to it that one thread only comes here.
 */
class cCrashReport
{
public:
    constexpr cCrashReport() = default;

    static cCrashReport& instance();

    /// Makes ready what a report says of the process, and removes the oldest reports beyond the number that is kept.
    /// @param slot not owned; must live until forgetSlot(). May be null.
    void prepare(cGuardSlot* slot, const QString& folder);

    /// From now on the slot is not touched any more.
    void forgetSlot() { m_slot = nullptr; }

    /// What is told beside the cause, such as a fatal message. Not for a signal handler.
    void setMessage(const QString& message);

    /// Whether @p crash has to do with a plugin: a step is at hand, or the code of one is on the stack.
    bool isOfPlugin(const cCrash& crash) const;

    /// Notes what has happened. @p walk fills the frames of a crash.
    void begin(const cCrash& crash, void (*walk)(cCrash& crash));

    /// Writes the report, or what is left to be written of it after a crash in the midst. Once done it does nothing.
    void write();

    /// The cause of what has begun.
    qint32 cause() const { return m_crash.cause; }

    /// Whether nothing is left to be told.
    bool isDone() const { return m_stage == Done && !m_isOpen; }

private:
    enum Stage { Mark, Walk, Name, Head, Stack, Log, Libraries, Done };

    void take(Stage stage);
    void mark();
    void name();
    void head();
    void log();
    const char* pluginOnStack() const;
    const char* plugin() const;

    cGuardSlot* m_slot = nullptr;
    char m_about[2048] = {};
    char m_message[1024] = {};
    cCrash m_crash{};
    void (*m_walk)(cCrash&) = nullptr;
    qint64 m_time = 0; // ms since 1970 UTC
    const char* m_plugin = nullptr;
    cGuardSlot::Step m_step = cGuardSlot::None;
    int m_stage = Done;
    bool m_isOpen = false;
    bool m_isWalkCut = false; // by a crash
};
