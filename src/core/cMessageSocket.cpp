#include <Norvale/cMessageSocket.h>

#include <QtCore/QtEndian>
#include <QtNetwork/QLocalSocket>

#include <limits>

namespace {

constexpr int headerSize = 4;

/// At least so much is asked for at once; bounds what a length that never arrives can make us hold.
constexpr qint64 smallestRead = 4 * 1024;

/// Room is made for so many times of what has arrived, so that a message of megabytes is not moved as it grows; for
/// more than that the array's own doubling will do.
constexpr qint64 growth = 8;
constexpr qint64 fastGrowing = 16 * 1024 * 1024;

/// What fits into a QByteArray, beside its own few bytes. A few lengths that can be sent are above.
constexpr int maximalSize = std::numeric_limits<int>::max() - 64;

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
        collect(message, qMin(length, maximalSize));
        const bool isShort = message.size() < length;
        if (isShort && (message.size() == maximalSize || !m_socket->waitForReadyRead(-1)))
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
    const qint64 wanted = qMin<qint64>(length - before, qMax(m_socket->bytesAvailable(), smallestRead));
    const qint64 arrived = before + wanted;
    if (arrived > message.capacity() && arrived <= fastGrowing)
        message.reserve(int(qMin<qint64>(length, arrived * growth)));
    message.resize(int(arrived));
    const qint64 got = m_socket->read(message.data() + before, wanted);
    message.resize(before + int(qMax<qint64>(got, 0)));
}

void cMessageSocket::writeMessage(const QByteArray& message)
{
    // The socket gathers both before it is flushed, so that a small frame leaves in one piece and wakes the reader
    // once.
    char header[headerSize];
    qToLittleEndian<qint32>(message.size(), header);
    m_socket->write(header, headerSize);
    m_socket->write(message);
    m_socket->flush();
}
