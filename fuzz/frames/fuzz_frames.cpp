// Feeds bytes in pieces of any size to the host's frame decoder and to cMessageSocket, and holds both against each
// other and against the same bytes in one piece. The first byte picks the sizes of the pieces, the rest is the stream.

#include "wire/cFrameDecoder.h"

#include <Norvale/cMessageSocket.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QList>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#include <cstdint>
#include <cstring>

namespace {

constexpr qint32 MaxPayload = 64 * 1024;

#define REQUIRE(claim)                                                                                                 \
    do {                                                                                                               \
        if (!(claim))                                                                                                  \
            qFatal("does not hold: %s", #claim);                                                                       \
    } while (false)

QList<QByteArray> piecesOf(const QByteArray& stream, quint32 seed)
{
    QList<QByteArray> pieces;
    for (int position = 0; position < stream.size();) {
        seed = seed * 1664525 + 1013904223;
        const int size = 1 + int((seed >> 16) % ((seed >> 30) ? 9 : 3000));
        pieces.append(stream.mid(position, size));
        position += size;
    }
    return pieces;
}

QList<QByteArray> decode(const QList<QByteArray>& pieces, bool* hasFailed)
{
    cFrameDecoder decoder(MaxPayload);
    QList<QByteArray> payloads;
    int arrived = 0;
    for (const QByteArray& piece : pieces) {
        decoder.append(piece);
        arrived += piece.size();
        QByteArray payload;
        while (decoder.next(&payload)) {
            arrived -= 4 + payload.size();
            payloads.append(payload);
        }
        REQUIRE(decoder.pendingBytes() <= arrived);
        REQUIRE(!decoder.hasFailed() || decoder.pendingBytes() == 0);
    }
    *hasFailed = decoder.hasFailed();
    return payloads;
}

// A connected socket whose incoming bytes are the pieces, one after each wait.
class cPieceSocket : public QLocalSocket
{
public:
    void feed(const QList<QByteArray>& pieces)
    {
        readAll();
        m_pieces = pieces;
        m_arrived.clear();
    }
    /// Bytes that the reader has got so far, of all inputs: some systems' sockets read ahead.
    qint64 taken() const { return m_taken - QIODevice::bytesAvailable(); }
    qint64 bytesAvailable() const override { return QIODevice::bytesAvailable() + m_arrived.size(); }
    bool waitForReadyRead(int) override
    {
        if (m_pieces.isEmpty())
            return false;
        m_arrived += m_pieces.takeFirst();
        return true;
    }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        const int count = int(qMin<qint64>(size, m_arrived.size()));
        std::memcpy(data, m_arrived.constData(), size_t(count));
        m_arrived.remove(0, count);
        m_taken += count;
        return count;
    }

private:
    QList<QByteArray> m_pieces;
    QByteArray m_arrived;
    qint64 m_taken = 0; ///< read so far, also ahead
};

cPieceSocket& connectedSocket()
{
    static int argc = 1;
    static char name[] = "fuzz_frames";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
    static QLocalServer server;
    static cPieceSocket socket;
    if (!server.isListening()) {
        REQUIRE(server.listen(QStringLiteral("norvale-fuzz-%1").arg(QCoreApplication::applicationPid())));
        socket.connectToServer(server.fullServerName());
        REQUIRE(socket.waitForConnected(10000));
    }
    return socket;
}

QList<QByteArray> readMessages(const QList<QByteArray>& pieces)
{
    cPieceSocket& socket = connectedSocket();
    socket.feed(pieces);
    cMessageSocket messages(&socket);
    QList<QByteArray> payloads;
    do {
        while (messages.messageAvailable()) {
            const qint64 before = socket.taken();
            payloads.append(messages.readMessage());
            if (socket.taken() == before)
                return payloads; // the flag of a failed wait sticks
        }
    } while (socket.waitForReadyRead(0));
    return payloads;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray stream(reinterpret_cast<const char*>(data) + 1, int(size) - 1);
    const QList<QByteArray> pieces = piecesOf(stream, data[0]);
    bool hasFailed = false;
    bool hasFailedWhole = false;
    const QList<QByteArray> payloads = decode(pieces, &hasFailed);
    REQUIRE(payloads == decode({stream}, &hasFailedWhole));
    REQUIRE(hasFailed == hasFailedWhole);

    // The blocking reader sees the same messages; it does not report an empty one that comes last.
    const QList<QByteArray> messages = readMessages(pieces);
    for (int i = 0; i < payloads.size(); ++i)
        REQUIRE(i < messages.size() ? payloads[i] == messages[i] : payloads[i].isEmpty());
    return 0;
}
