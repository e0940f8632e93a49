#include <Norvale/cMessageSocket.h>
#include <Rows.h>
#include <SettingsSandbox.h>

#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#include <functional>

/// A real socket whose endless wait does what the test says.
struct cScriptedSocket : QLocalSocket
{
    bool waitForReadyRead(int milliseconds) override { return milliseconds == -1 && onWait(); }
    std::function<bool()> onWait;
};

static QByteArray frame(const QByteArray& message)
{
    const quint32 size = quint32(message.size());
    const char header[] = {char(size), char(size >> 8), char(size >> 16), char(size >> 24)};
    return QByteArray(header, 4) + message;
}

class tst_cMessageSocket : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(m_server.isListening() || m_server.listen(m_sandbox.path() + "/socket"));
        m_socket.abort();
        m_socket.connectToServer(m_server.serverName());
        QVERIFY(m_server.hasPendingConnections() || m_server.waitForNewConnection(30000));
        m_peer = m_server.nextPendingConnection();
    }
    void write()
    {
        QByteArray wire;
        for (int size : {3, 0, 255, 65536, 300000}) {
            cMessageSocket(&m_socket).writeMessage(QByteArray(size, 'x'));
            wire += frame(QByteArray(size, 'x'));
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_peer->bytesAvailable(), qint64(wire.size()), 30000);
        QCOMPARE(m_peer->peek(7), QByteArray("\x03\0\0\0xxx", 7));
        QVERIFY(m_peer->readAll() == wire);
    }
    void read_data()
    {
        // The first piece is there before the read; each other comes, or happens, in a wait. A wait without one fails.
        const Rows<QByteArrayList, QByteArray, QByteArray, QByteArray> row("pieces", "message", "rest", "nextMessage");
        const QByteArray large = QByteArray("0123456789abcde").repeated(200000);
        row("large", {frame(large).left(70000), frame(large).mid(70000) + "next"}, large, "next", "again");
        row("negative length", {QByteArray(4, char(0xff)) + "abc"}, "", "abc", "again");
        row("in pieces", {frame("abcd").left(4), "a", "bc", "d" + frame("")}, "abcd", frame(""), "again");
        row("short length counts as its low byte", {"\x02", "ab"}, "ab", "", "again");
        row("asked again while it waits", {frame("abc").left(5), "ask", "bc"}, "abc", "", "again");
        row("wait fails", {frame("abcdef").left(7)}, "", "", "");
        row("2 GB announced, then invalid", {QByteArray::fromHex("ffffff7f") + "abc", "abort"}, "abc", "", "again");
    }
    void read()
    {
        QFETCH(QByteArrayList, pieces);
        cMessageSocket messages = &m_socket;
        QVERIFY(deliver(pieces.takeFirst()));
        // So an empty message alone is not told.
        QCOMPARE(messages.messageAvailable(), m_socket.bytesAvailable() > 4);
        m_socket.onWait = [&] {
            const QByteArray piece = pieces.isEmpty() ? "fail" : pieces.takeFirst();
            if (piece == "ask")
                return messages.readMessage().isNull();
            if (piece == "abort")
                m_socket.abort();
            return piece == "abort" || (piece != "fail" && deliver(piece));
        };
        const QByteArray message = messages.readMessage();
        QTEST(message, "message");
        QVERIFY2(message.capacity() < 64 * 1024 + 2 * message.size(), "the announced length is not allocated");
        QTEST(m_socket.readAll(), "rest");
        init();
        QVERIFY(deliver(frame("again")));
        QTEST(messages.readMessage(), "nextMessage");
    }

private:
    /// The peer sends raw bytes, and they arrive.
    bool deliver(const QByteArray& bytes)
    {
        const qint64 expected = m_socket.bytesAvailable() + bytes.size();
        m_peer->write(bytes);
        return QTest::qWaitFor([&] { return m_socket.bytesAvailable() == expected; }, 30000);
    }

    SettingsSandbox m_sandbox;
    QLocalServer m_server;
    cScriptedSocket m_socket;
    QLocalSocket* m_peer = nullptr; ///< The server's end; deleted with the server.
};

QTEST_GUILESS_MAIN(tst_cMessageSocket)
#include "tst_cMessageSocket.moc"
