#pragma once

#include "wire/cFrameDecoder.h"
#include "wire/cHostAddress.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QHash>
#include <QtCore/QObject>

class QLocalServer;
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
    bool m_hasLeft = false; // the client is gone, what it sent before may still wait to be read
    bool m_isOver = false;
};

/**
 * Listens on the host's address and keeps its clients.
 *
 * The address belongs to whoever holds the lock beside it. The lock of a process that is gone is taken over, and only
 * then what it left of its socket is removed; while its holder lives neither is touched.
 *
 * All functions are for the thread of the object; send() and broadcast() may be called from any thread.
 */
class cHostServer : public QObject
{
    Q_OBJECT

public:
    enum Outcome {
        Listening,   // the address is ours
        HostIsAlive, // another host holds the address
        Failed       // the lock or the socket cannot be taken
    };

    /// Clients served at a time; a further one is turned away.
    static constexpr int MaxClients = 256;

    /// For how long the end waits for clients that have not read what was sent to them, in milliseconds.
    static constexpr int MillisecondsToRead = 2000;

    explicit cHostServer(QObject* parent = nullptr);
    ~cHostServer() override;

    /// Takes the address. Clients may connect from now on, and are served by the event loop.
    Outcome listen(const cHostAddress& address);

    /// Why listen() did not succeed.
    QString errorString() const { return m_error; }

    /// Sends a frame to one client. @return false when it is not there (from another thread: always true).
    bool send(int connectionId, const QByteArray& payload);

    /// Sends a frame to every client.
    void broadcast(const QByteArray& payload);

    /// Ids of the clients, ascending.
    QList<int> connectionIds() const;

    /// Ends every connection, after its client has what was sent to it, and gives the address back.
    void close();

signals:
    /// A client sent a message.
    void messageReceived(int connectionId, const QByteArray& payload);

private:
    void acceptClients();
    void forget(int connectionId, const QString& reason);

    QLocalServer* m_server;
    cHostLock m_lock;
    QHash<int, cClientConnection*> m_clients;
    int m_lastId = 0; // ids only go up, so that a late answer never reaches another client
    QString m_error;
};
