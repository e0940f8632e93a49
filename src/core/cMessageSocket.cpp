#include <Norvale/cMessageSocket.h>

#include <QtCore/QtEndian>
#include <QtNetwork/QLocalSocket>

namespace {

constexpr int headerSize = 4;

/// Up to this size a message is copied behind its length, so that the system takes the frame in one piece; the copy
/// costs less than waking the reader for the length alone.
constexpr int joinedSize = 64 * 1024;

/// At least so much is asked for at once; bounds what a length that never arrives can make us hold.
constexpr qint64 smallestRead = 4 * 1024;

} // namespace

cMessageSocket::cMessageSocket(QLocalSocket* socket) : m_socket(socket) {}

bool cMessageSocket::messageAvailable() const
{
    return m_socket->bytesAvailable() > headerSize;
}

QByteArray cMessageSocket::readMessage()
{
    if (m_isReading)
        return QByteArray();
    m_isReading = true;

    char header[headerSize] = {};
    m_socket->read(header, headerSize); // a short read leaves the missing high bytes 0
    const qint32 length = qFromLittleEndian<qint32>(header);

    QByteArray message;
    bool isValid = m_socket->isValid();
    while (isValid && message.size() < length) {
        collect(message, length);
        if (message.size() < length && !m_socket->waitForReadyRead(-1))
            return QByteArray(); // the flag stays set, on purpose: no further frame can be told from this one's rest
        isValid = m_socket->isValid();
    }
    m_isReading = false;
    return message;
}

/// Appends what has arrived of a message of @p length bytes. The array grows by doubling as data comes in.
void cMessageSocket::collect(QByteArray& message, int length)
{
    const int before = message.size();
    const qint64 wanted = qMin<qint64>(length - before, qMax(m_socket->bytesAvailable(), smallestRead));
    message.resize(before + int(wanted));
    const qint64 got = m_socket->read(message.data() + before, wanted);
    message.resize(before + int(qMax<qint64>(got, 0)));
}

void cMessageSocket::writeMessage(const QByteArray& message)
{
    char header[headerSize];
    qToLittleEndian<qint32>(message.size(), header);
    if (message.size() <= joinedSize) {
        QByteArray frame;
        frame.reserve(headerSize + message.size());
        frame.append(header, headerSize).append(message);
        m_socket->write(frame);
    } else {
        m_socket->write(header, headerSize);
        m_socket->write(message);
    }
    m_socket->flush();
}
