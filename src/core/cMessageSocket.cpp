#include <Norvale/cMessageSocket.h>

#include <QtCore/QtEndian>
#include <QtNetwork/QLocalSocket>

#include <limits>

namespace {

constexpr int HeaderSize = 4; // the length before each message

/// The least that is asked for at once, in bytes. It bounds what a length that never arrives can make us hold.
constexpr qint64 SmallestRead = 4 * 1024;

/// Room is made for so many times of what has arrived, so that a message of megabytes is not moved as it grows. Beyond
/// so many bytes the array's own doubling will do.
constexpr qint64 Growth = 8;
constexpr qint64 FastGrowing = 16 * 1024 * 1024;

/// What fits into a QByteArray beside its own few bytes. A frame can announce a little more.
constexpr int MaximalSize = std::numeric_limits<int>::max() - 64;

} // namespace

cMessageSocket::cMessageSocket(QLocalSocket* socket) : m_socket(socket) {}

bool cMessageSocket::messageAvailable() const
{
    return m_socket->bytesAvailable() > HeaderSize;
}

QByteArray cMessageSocket::readMessage()
{
    if (m_isReading)
        return QByteArray();
    m_isReading = true;

    char header[HeaderSize] = {};
    m_socket->read(header, HeaderSize); // a short read leaves the missing high bytes 0
    const qint32 length = qFromLittleEndian<qint32>(header);

    QByteArray message;
    bool isValid = m_socket->isValid();
    while (isValid && message.size() < length) {
        collect(message, qMin(length, MaximalSize));
        const bool isShort = message.size() < length;
        if (isShort && (message.size() == MaximalSize || !m_socket->waitForReadyRead(-1)))
            return QByteArray(); // the flag stays set, on purpose: no further frame can be told from this one's rest
        isValid = m_socket->isValid();
    }
    m_isReading = false;
    return message;
}

/// Appends what has arrived of a message of @p length bytes.
void cMessageSocket::collect(QByteArray& message, int length)
{
    const int before = message.size();
    const qint64 wanted = qMin<qint64>(length - before, qMax(m_socket->bytesAvailable(), SmallestRead));
    const qint64 arrived = before + wanted;
    if (arrived > message.capacity() && arrived <= FastGrowing)
        message.reserve(int(qMin<qint64>(length, arrived * Growth)));
    message.resize(int(arrived));
    const qint64 got = m_socket->read(message.data() + before, wanted);
    message.resize(before + int(qMax<qint64>(got, 0)));
}

void cMessageSocket::writeMessage(const QByteArray& message)
{
    // The socket gathers both before it is flushed, so that a small frame leaves in one piece and wakes the reader
    // once.
    char header[HeaderSize];
    qToLittleEndian<qint32>(message.size(), header);
    m_socket->write(header, HeaderSize);
    m_socket->write(message);
    m_socket->flush();
}
