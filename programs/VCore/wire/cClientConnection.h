#pragma once

#include "wire/cFrameDecoder.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QObject>

class QLocalSocket;

/**
 * One client of the host: its socket, its id, and the frames that come and go.
 *
 * Reading takes one piece of at most 64 KiB a turn of the event loop, so that a client that never pauses starves
 * neither the others nor the suite. While a message is handled no further one of the same client is begun, also when
 * its handler runs an event loop. A client that does not read is cut off once MaxPending bytes wait for it.
 */
class cClientConnection : public QObject
{
    Q_OBJECT

public:
    /// Bytes that may wait to be read by the client: room for two of the largest frames.
    static constexpr qint64 MaxPending = 2 * (qint64(cFrameDecoder::MaxPayload) + 4);

    /// Takes over @p socket, which is connected. @p id is positive and never given to another client.
    cClientConnection(int id, QLocalSocket* socket, QObject* parent);
    ~cClientConnection() override;

    int id() const { return m_id; }

    /// Sends one frame. @return false when the client is gone or had to be cut off.
    bool send(const QByteArray& payload);

    /// Ends the connection once the client has what was sent to it, when @p patience is over at the latest. Does not
    /// emit closed().
    void close(const QDeadlineTimer& patience);

signals:
    /// A whole message arrived.
    void messageReceived(int id, const QByteArray& payload);

    /// The connection has ended, for the @p reason, which is empty when the client left.
    void closed(int id, const QString& reason);

private:
    void readPiece();
    void readPieceLater();
    void handleFrames();
    void end(const QString& reason);

    const int m_id;
    QLocalSocket* m_socket;
    cFrameDecoder m_decoder;
    bool m_isHandling = false;
    bool m_hasLeft = false; ///< the client is gone, what it sent before may still wait to be read
    bool m_isOver = false;
};
