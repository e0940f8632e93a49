#pragma once

#include "wire/cHostAddress.h"
#include "wire/cHostLock.h"

#include <QtCore/QHash>
#include <QtCore/QObject>

class QLocalServer;
class cClientConnection;

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
        Listening,   ///< the address is ours
        HostIsAlive, ///< another host holds the address
        Failed       ///< lock or socket cannot be had
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
    int m_lastId = 0; ///< ids only go up, so that a late answer never reaches another client
    QString m_error;
};
