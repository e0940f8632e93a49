#pragma once

#include <QtCore/QtGlobal>

#include <atomic>

/**
 * The last lines of the log, kept for the report of a crash.
 *
 * Its bytes are fixed, so that a signal handler reads them: no memory is asked for, no lock is taken. Lines come under
 * the central's lock, one at a time; a reader that meets one being written leaves it out. Nothing is kept before
 * keep().
 */
class cLastLines
{
public:
    static constexpr int Count = 100;
    static constexpr int LongestLine = 500; // bytes; what is longer is cut

    constexpr cLastLines() = default;

    /// The lines of the process, from all channels.
    static cLastLines& instance();

    /// From now on lines are kept. Any thread.
    void keep() { m_isKept.store(true, std::memory_order_relaxed); }
    bool isKept() const { return m_isKept.load(std::memory_order_relaxed); }

    /// Adds a line of UTF-8, without its line end, in place of the oldest one; the central's lock is held.
    void add(const char* text, int length);

    using Take = void (*)(const char* text, int length);

    /// Hands out the lines, the oldest first. Any thread, and signal handlers.
    void forEach(Take take) const;

private:
    struct Line
    {
        mutable std::atomic<quint32> number{0}; // counted from 1; 0 while it is written, and before
        int length = 0;
        char text[LongestLine] = {};
    };

    Line m_lines[Count];
    std::atomic<quint32> m_last{0}; // the number of the line that came last
    std::atomic<bool> m_isKept{false};
};
