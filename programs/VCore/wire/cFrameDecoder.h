#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/**
 * Cuts a stream of bytes into the frames of the local socket: a signed 32-bit little-endian length, then so many bytes.
 *
 * Unlike cMessageSocket it never waits: bytes go in as they arrive, whole payloads come out. It holds no more than what
 * has arrived, whatever a length claims. A negative length, or one above the limit, ends the stream for good, since
 * nothing behind it can be trusted to be the begin of a frame.
 *
 * Take all payloads after each append; then at most one unfinished frame is held.
 */
class cFrameDecoder
{
public:
    /// Largest payload that a host takes or sends, in bytes: 16 MiB.
    static constexpr qint32 MaxPayload = 16 * 1024 * 1024;

    explicit cFrameDecoder(qint32 maxPayload = MaxPayload);

    /// Takes @p bytes as the continuation of the stream. After a failure they are dropped.
    void append(const QByteArray& bytes);

    /// Moves the next whole payload, which may be empty, to @p payload. @return false when none is whole yet.
    [[nodiscard]] bool next(QByteArray* payload);

    /// True once a length was negative or above the limit; no payload comes any more.
    bool hasFailed() const { return !m_error.isEmpty(); }

    /// Why the stream failed; empty while it has not.
    QString errorString() const { return m_error; }

    /// Bytes held of frames that were not taken yet.
    int pendingBytes() const { return m_bytes.size() - m_taken; }

private:
    void fail(qint32 length);
    void forgetTaken();

    QByteArray m_bytes;
    int m_taken = 0; // bytes at the front of m_bytes that belong to payloads already handed out
    qint32 m_maxPayload;
    QString m_error;
};
