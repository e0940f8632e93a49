#include "wire/cHostServer.h"

#include "HostSystem.h"

#include <Norvale/cDebug.h>
#include <Norvale/cLog.h>
#include <Norvale/cLogCentral.h>
#include <Norvale/cMessageSocket.h>

#include <QtCore/QPointer>
#include <QtCore/QTextStream>
#include <QtCore/QThread>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#include <algorithm>

namespace {

constexpr qint64 PieceBytes = 64 * 1024;

} // namespace

cClientConnection::cClientConnection(int id, QLocalSocket* socket, QObject* parent)
    : QObject(parent), m_id(id), m_socket(socket)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(PieceBytes); // what is beyond it waits with the sender
    connect(m_socket, &QLocalSocket::readyRead, this, &cClientConnection::readPiece);
    connect(m_socket, &QLocalSocket::disconnected, this, [this] {
        m_hasLeft = true;
        readPieceLater();
    });
    readPieceLater();
}

cClientConnection::~cClientConnection()
{
    m_isOver = true; // the socket still says that it disconnects
}

bool cClientConnection::send(const QByteArray& payload)
{
    if (m_isOver)
        return false;
    if (m_socket->bytesToWrite() + payload.size() + 4 > MaxPending) {
        end(QStringLiteral("the client does not read what is sent to it"));
        return false;
    }
    cMessageSocket(m_socket).writeMessage(payload);
    return !m_isOver;
}

void cClientConnection::close(const QDeadlineTimer& patience)
{
    m_isOver = true;
    while (m_socket->bytesToWrite() > 0 && m_socket->waitForBytesWritten(int(patience.remainingTime()))) {
    }
    if (m_socket->state() == QLocalSocket::ConnectedState)
        HostSystem::waitUntilRead(*m_socket, int(patience.remainingTime()));
    m_socket->disconnectFromServer();
}

void cClientConnection::readPiece()
{
    if (m_isHandling || m_isOver)
        return;
    const QPointer<cClientConnection> alive(this);
    m_decoder.append(m_socket->read(PieceBytes));
    m_isHandling = true;
    handleFrames();
    if (!alive)
        return;
    m_isHandling = false;
    if (m_socket->bytesAvailable() > 0)
        readPieceLater();
    else if (m_hasLeft)
        end(QString());
}

void cClientConnection::readPieceLater()
{
    QMetaObject::invokeMethod(
        this, [this] { readPiece(); }, Qt::QueuedConnection);
}

void cClientConnection::handleFrames()
{
    const QPointer<cClientConnection> alive(this);
    QByteArray payload;
    while (m_decoder.next(&payload)) {
        emit messageReceived(m_id, payload);
        if (!alive || m_isOver)
            return;
    }
    if (m_decoder.hasFailed())
        end(m_decoder.errorString());
}

void cClientConnection::end(const QString& reason)
{
    if (m_isOver)
        return;
    m_isOver = true;
    if (!reason.isEmpty())
        m_socket->abort();
    emit closed(m_id, reason);
}

cHostServer::cHostServer(QObject* parent) : QObject(parent), m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &cHostServer::acceptClients);
}

cHostServer::~cHostServer()
{
    close();
}

cHostServer::Outcome cHostServer::listen(const cHostAddress& address)
{
    if (!address.isValid()) {
        m_error = address.errorString();
        return Failed;
    }
    const cHostLock::Outcome lock = m_lock.take(address.lockPath());
    if (lock != cHostLock::Taken) {
        m_error = m_lock.errorString();
        return lock == cHostLock::Held ? HostIsAlive : Failed;
    }
    QLocalServer::removeServer(address.socketName());
    if (m_server->listen(address.socketName()))
        return Listening;
    m_error = QStringLiteral("cannot listen on %1: %2").arg(address.socketName(), m_server->errorString());
    m_lock.release();
    return Failed;
}

bool cHostServer::send(int connectionId, const QByteArray& payload)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [=] { send(connectionId, payload); }, Qt::QueuedConnection);
        return true;
    }
    cClientConnection* client = m_clients.value(connectionId);
    return client && client->send(payload);
}

void cHostServer::broadcast(const QByteArray& payload)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [=] { broadcast(payload); }, Qt::QueuedConnection);
        return;
    }
    for (const int id : connectionIds())
        send(id, payload);
}

QList<int> cHostServer::connectionIds() const
{
    QList<int> ids = m_clients.keys();
    std::sort(ids.begin(), ids.end());
    return ids;
}

void cHostServer::close()
{
    m_server->close();
    const QDeadlineTimer patience(MillisecondsToRead);
    for (cClientConnection* client : qAsConst(m_clients)) {
        client->close(patience);
        client->deleteLater();
    }
    m_clients.clear();
    m_lock.release();
}

void cHostServer::acceptClients()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        if (m_clients.size() >= MaxClients) {
            cLogCentral::log(QStringLiteral("VCore")).warning() << "a client was turned away: too many" << Qt::endl;
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto* client = new cClientConnection(++m_lastId, socket, this);
        m_clients.insert(client->id(), client);
        connect(client, &cClientConnection::messageReceived, this, &cHostServer::messageReceived);
        connect(client, &cClientConnection::closed, this, &cHostServer::forget);
    }
}

void cHostServer::forget(int connectionId, const QString& reason)
{
    if (cClientConnection* client = m_clients.take(connectionId))
        client->deleteLater();
    if (!reason.isEmpty()) {
        cLogCentral::log(QStringLiteral("VCore")).warning()
            << qPrintable(QStringLiteral("connection %1 was ended: %2").arg(connectionId).arg(reason)) << Qt::endl;
    }
}
