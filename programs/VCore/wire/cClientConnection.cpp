#include "wire/cClientConnection.h"

#include "wire/LastBytes.h"

#include <Norvale/cMessageSocket.h>

#include <QtCore/QPointer>
#include <QtNetwork/QLocalSocket>

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
        waitUntilRead(*m_socket, int(patience.remainingTime()));
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
