#pragma once

#include "guard/cGuardSlot.h"
#include "version/cCodeImage.h"

#include <QtCore/QObject>
#include <QtCore/QThread>

#include <atomic>

/**
 * A service call of the watched thread, noted while it goes on so that the watchdog can tell whose call does not come
 * back. An object stands around the call in any thread; calls nest.
 *
 * Every call passes here, so it is a few writes, without a lock.
 */
class cMainCall
{
public:
    /// @p service may be null.
    explicit cMainCall(const QObject* service)
        : m_isNoted(service && s_thread.load(std::memory_order_relaxed) == QThread::currentThreadId())
    {
        if (!m_isNoted)
            return;
        m_outer = s_code.load(std::memory_order_relaxed);
        if (!m_outer)
            s_number.store(s_number.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        s_code.store(cCodeImage::codeOf(service), std::memory_order_release);
    }

    ~cMainCall()
    {
        if (!m_isNoted)
            return;
        s_code.store(m_outer, std::memory_order_release);
        if (s_marked.load(std::memory_order_relaxed))
            unmark();
    }

    cMainCall(const cMainCall&) = delete;
    cMainCall& operator=(const cMainCall&) = delete;

    /// The calls of the calling thread are noted from now on, or those of none.
    static void watchThisThread() { s_thread = QThread::currentThreadId(); }
    static void watchNone() { s_thread = nullptr; }

    /// Where the code of the innermost service lies; null when no call goes on. Any thread.
    static const void* code() { return s_code.load(std::memory_order_acquire); }

    /// The number of the outermost call that goes on or was made last. Any thread.
    static quint64 number() { return s_number.load(std::memory_order_relaxed); }

    /// The call at hand has been told in @p slot not to come back; what it says goes when a call does. Of the watchdog.
    static void mark(cGuardSlot* slot) { s_marked.store(slot, std::memory_order_release); }

    /// Takes back what the slot says of a call. Of the watched thread, or while no calls go on.
    static void unmark()
    {
        cGuardSlot* const slot = s_marked.exchange(nullptr, std::memory_order_acquire);
        if (slot && slot->end == cGuardSlot::Hung)
            slot->step = cGuardSlot::None;
    }

private:
    inline static std::atomic<cGuardSlot*> s_marked{nullptr};
    inline static std::atomic<Qt::HANDLE> s_thread{nullptr};
    inline static std::atomic<const void*> s_code{nullptr};
    inline static std::atomic<quint64> s_number{0};

    const bool m_isNoted;
    const void* m_outer = nullptr;
};

/**
 * How long the watched thread has given no sign of life in a service call: no call has ended, and no event has been
 * delivered, as happens to those who wait in a loop of their own, for a dialog.
 */
class cCallWatch
{
public:
    /// To be made and destroyed in the watched thread, while nobody looks.
    cCallWatch() { cMainCall::watchThisThread(); }
    ~cCallWatch();

    /// To be called now and then in one other thread, with the milliseconds since the last time. @return for how many
    /// milliseconds there has been no sign; 0 when no call goes on.
    int look(int elapsed);

private:
    QObject m_pulse; // receives an event of ours
    std::atomic<bool> m_isAsked{false};
    std::atomic<bool> m_hasAnswered{false};
    quint64 m_number = 0;
    int m_silence = 0;
};
