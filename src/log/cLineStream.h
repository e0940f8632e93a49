#pragma once

#include <QtCore/QDebug>

#include <optional>

class QIODevice;

/**
 * The stream of a channel's lines, kept from line to line.
 *
 * A new QDebug over a device costs several times what is streamed into it: its text stream is built, and connected to
 * the device by the names of signal and slot. So the lines of a channel are copies of one QDebug, which is brought back
 * to its first state before each; should something of it have been changed for good, or should a copy outlive its line,
 * a new one is made. The channel's lock is held around every call.
 */
class cLineStream
{
public:
    explicit cLineStream(QIODevice& device);

    /// For the start of a line. @return a stream that writes to the device and is as good as new.
    const QDebug& start();

    /// For the end of a line: destroys its stream, which flushes what is left in it when @p line is the last to hold
    /// it.
    void settle(QDebug line);

private:
    bool renew();
    void flush();

    QIODevice& m_device;
    std::optional<QDebug> m_stream;
};
