#pragma once

#include "log/cLineStream.h"

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QMutex>

#include <atomic>

/**
 * The place where the lines of a channel are composed, one after the other: the lock, the bytes, the buffer over them.
 *
 * Every line has a number of its own while it holds the lock. Copies of a line share the number, and so the first of
 * them to go is told from the others.
 */
class cLogLine
{
public:
    cLogLine();
    cLogLine(const cLogLine&) = delete;
    cLogLine& operator=(const cLogLine&) = delete;

    /// Waits for the line before it to end.
    void lock();
    void unlock();

    /// Locks, unless the calling thread holds the lock already. @return true when it is for the caller to unlock.
    bool lockUnlessHeld();

    /// Starts a line; the lock is held. @return what the line is to be a copy of.
    const QDebug& open();

    /// The number of the line that holds the lock.
    quint64 openNumber() const { return m_openNumber.load(std::memory_order_relaxed); }

    /// True for the one caller that ends line @p number, and so inherits its hold on the lock.
    bool claim(quint64 number);

    /// The bytes that have been flushed so far.
    const QByteArray& text() const { return m_text; }

    /// Forgets the bytes and goes back to the start of the buffer. Then destroys @p debug, the stream of the line: what
    /// was never flushed begins the next line.
    void clear(QDebug debug);

private:
    QMutex m_lock; ///< Guards the text and the buffer.
    QByteArray m_text;
    QBuffer m_buffer;
    cLineStream m_stream;
    quint64 m_lastNumber = 0;
    std::atomic<quint64> m_openNumber{0}; ///< 0 while the lock is not held by a line.
    std::atomic<Qt::HANDLE> m_holder{nullptr};
};
