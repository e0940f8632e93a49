#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QByteArray>

class QLocalSocket;

/** @ingroup messages
 * Sends and receives whole messages over a local socket.
 *
 * Each message travels as a frame: its length in bytes as a signed 32-bit number, little-endian, then the bytes
 * themselves. Frames follow each other without anything between them.
 *
 * It is a small value: copies wrap the same socket. The socket is not owned and must outlive every use. Use it from
 * one thread at a time, the socket's own.
 * @code
 * cMessageSocket messages(&socket);
 * messages.writeMessage("hello");
 * while (messages.messageAvailable())
 *     handle(messages.readMessage());
 * @endcode
 */
class NORVALE_EXPORT cMessageSocket
{
public:
    /// Wraps @p socket, which must not be null and stays the caller's.
    cMessageSocket(QLocalSocket* socket);

    /**
     * Tells whether a message waits to be read.
     * @return true when more than 4 bytes wait on the socket, so at least a length and a first byte. A message that
     * is empty and the only one is not reported.
     */
    bool messageAvailable() const;

    /**
     * Reads one message, and waits without a time limit until all of it has arrived. Call it when messageAvailable()
     * says so: it does not wait for the length. Memory grows with what arrives, not with the length that was sent.
     *
     * While it waits, a call from a slot that runs meanwhile answers empty at once.
     * @return the message. Empty when the message is, when its length is negative, when the socket is no longer
     * valid, or when waiting failed; after such a failure every further call on this object answers empty at once.
     * When the socket becomes invalid in the middle of a message, what has arrived of it.
     */
    QByteArray readMessage();

    /**
     * Sends one message and flushes the socket. Whether it got through is not told: watch the socket's own signals.
     * What the system does not take at once is sent from the event loop, or while the socket waits.
     * @param message the bytes to send; may be empty.
     */
    void writeMessage(const QByteArray& message);

private:
    void collect(QByteArray& message, int length);

    QLocalSocket* m_socket;
    bool m_isReading = false; ///< Stays set for good once a wait has failed.
};
