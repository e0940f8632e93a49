#include "wire/cHostClient.h"

#include "wire/cHostAddress.h"

#include <Norvale/cMessageSocket.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QThread>

cHostClient::cHostClient(int milliseconds) : m_deadline(milliseconds) {}

cHostClient::Outcome cHostClient::connectTo(const cHostAddress& address)
{
    if (!address.isValid()) {
        m_error = address.errorString();
        return NoHost;
    }
    m_socket.connectToServer(address.socketName());
    if (m_socket.waitForConnected(int(m_deadline.remainingTime())))
        return Done;
    m_error = reasonFor(address);
    return m_socket.error() == QLocalSocket::SocketTimeoutError ? TimedOut : NoHost;
}

// The name of a socket tells a user nothing, unless there is something about it that only an expert can mend.
QString cHostClient::reasonFor(const cHostAddress& address) const
{
    const QLocalSocket::LocalSocketError error = m_socket.error();
    if (error == QLocalSocket::ServerNotFoundError || error == QLocalSocket::ConnectionRefusedError) {
        return QStringLiteral("VCore is not running for %1; start it with `VCore`, which stays in the foreground until "
                              "it is stopped")
            .arg(address.installFolder());
    }
    if (error == QLocalSocket::SocketTimeoutError)
        return QStringLiteral("VCore runs for %1, but does not answer in time").arg(address.installFolder());
    return QStringLiteral("VCore cannot be reached at %1: %2").arg(address.socketName(), m_socket.errorString());
}

cHostClient::Outcome cHostClient::waitFor(const cHostAddress& address)
{
    constexpr unsigned long MillisecondsBetweenTries = 50;
    Outcome outcome = connectTo(address);
    while (outcome == NoHost && address.isValid() && !m_deadline.hasExpired()) {
        QThread::msleep(MillisecondsBetweenTries);
        outcome = connectTo(address);
    }
    return outcome;
}

cHostClient::Outcome cHostClient::ask(const QByteArray& message, const AnswerFunction& onAnswer)
{
    if (!sendAll(message))
        return fail();
    while (!takeAnswers(onAnswer)) {
        if (m_decoder.hasFailed()) {
            m_error = m_decoder.errorString();
            return Lost;
        }
        if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(int(m_deadline.remainingTime())))
            return fail();
        m_decoder.append(m_socket.readAll());
    }
    return Done;
}

cHostClient::Outcome cHostClient::fail()
{
    if (m_deadline.hasExpired()) {
        m_error = QStringLiteral("VCore did not answer in time; --timeout SECONDS waits longer");
        return TimedOut;
    }
    m_error = QStringLiteral("VCore ended the connection before it had answered: %1").arg(m_socket.errorString());
    return Lost;
}

bool cHostClient::sendAll(const QByteArray& message)
{
    cMessageSocket(&m_socket).writeMessage(message);
    while (m_socket.bytesToWrite() > 0) {
        if (!m_socket.waitForBytesWritten(int(m_deadline.remainingTime())))
            return false;
    }
    return true;
}

// True once the closing message was among them.
bool cHostClient::takeAnswers(const AnswerFunction& onAnswer)
{
    QByteArray text;
    while (m_decoder.next(&text)) {
        const QJsonObject answer = QJsonDocument::fromJson(text).object();
        const QString command = answer.value(QStringLiteral("command")).toString();
        if (command == QLatin1String("HANDLED"))
            return true;
        if (command != QLatin1String("NEWSERVICE"))
            onAnswer(text, answer);
    }
    return false;
}
