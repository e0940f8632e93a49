#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>

/**
 * What the exception that is being handled says, as a sentence that goes on after the name of who threw it. To be
 * called in the catch block of a call that leaves the library; the text is a copy, since the exception's type may lie
 * in a library that is unloaded next.
 */
QString whatWasThrown();

/// Calls out of the library. @return what was thrown, as whatWasThrown() tells it; empty when nothing was.
template <typename Call>
QString whatIsThrownBy(const Call& call)
{
    try {
        call();
        return QString();
    } catch (...) {
        return whatWasThrown();
    }
}

/**
 * What is registered with the library while a plugin's start runs, so that a start that fails leaves nothing behind.
 *
 * Whoever keeps registrations notes each with the way to take it back. Who starts a plugin opens a journal around the
 * call. Journals nest as starts do, and a registration belongs to the innermost: that of the plugin whose start runs.
 * Each thread has journals of its own; what another thread registers is not noted.
 */
class cStartJournal
{
public:
    /// Takes a registration back. @return what it was, "the service "x""; empty when it was gone already.
    using Undo = std::function<QString()>;

    /// While an object lives, what its thread registers is noted in the journal.
    class Opened
    {
    public:
        explicit Opened(cStartJournal& journal) : m_outer(s_innermost) { s_innermost = &journal; }
        ~Opened() { s_innermost = m_outer; }
        Opened(const Opened&) = delete;
        Opened& operator=(const Opened&) = delete;

    private:
        cStartJournal* const m_outer;
    };

    /// Whether the calling thread starts a plugin; otherwise there is nothing to be noted.
    static bool isOpen() { return s_innermost != nullptr; }

    /// Notes a registration, when the thread starts a plugin. @p code is where the code of what is registered lies.
    static void note(const void* code, const Undo& undo)
    {
        if (s_innermost)
            s_innermost->m_entries.append({code, undo});
    }

    /// Takes back what has been noted, the last first, but for what @p isKept tells of by its code.
    /// @return what has been taken back.
    QStringList undo(const std::function<bool(const void* code)>& isKept);

private:
    struct Entry
    {
        const void* code;
        Undo undo;
    };

    static thread_local cStartJournal* s_innermost;

    QVector<Entry> m_entries;
};
