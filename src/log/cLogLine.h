#pragma once

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QDebug>
#include <QtCore/QMutex>

#include <atomic>
#include <optional>

/**
 * The stream of a channel's lines, kept from line to line.
 *
 * A new QDebug over a device costs several times what is streamed into it: its text stream is built, and connected to
 * the device by the names of signal and slot. So the lines of a channel are copies of one QDebug, which is brought back
 * to its first state before each. A new one is made when something of it has been changed for good, or when a copy
 * outlives its line. The channel's lock is held around every call.
 */
class cLineStream
{
public:
    explicit cLineStream(QIODevice& device) : m_device(device) {}

    /// Starts a line. @return a stream that writes to the device and is as good as new.
    const QDebug& start();

    /// Ends a line: destroys its stream, which flushes what is left in it when @p line is the last to hold it.
    void finish(QDebug line);

private:
    bool reset();
    void flush();

    QIODevice& m_device;
    std::optional<QDebug> m_stream;
};

/**
 * The place where the lines of a channel are composed, one after the other: the lock, the bytes, the buffer over them.
 *
 * Every line has a number of its own while it holds the lock. Copies of a line share the number, which tells the first
 * of them to go from the others.
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

    /// Locks, unless the calling thread holds the lock already. @return true when the caller has to unlock.
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
    QMutex m_lock; // guards the text and the buffer
    QByteArray m_text;
    QBuffer m_buffer;
    cLineStream m_stream;
    quint64 m_lastNumber = 0;
    std::atomic<quint64> m_openNumber{0}; // 0 while no line holds the lock
    std::atomic<Qt::HANDLE> m_holder{nullptr};
};
