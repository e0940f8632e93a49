#include "SettingsSandbox.h"

#include <Norvale/cMessageSocket.h>

#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>
#include <QtTest/QtTest>

#include <functional>

namespace {

/// A real socket whose wait does what the test says before, or instead of, waiting.
class cScriptedSocket : public QLocalSocket
{
public:
    bool waitForReadyRead(int milliseconds) override
    {
        waits << milliseconds;
        return onWait();
    }
    bool reallyWait() { return QLocalSocket::waitForReadyRead(30000); }

    std::function<bool()> onWait;
    QList<int> waits;
};

QByteArray frame(const QByteArray& message)
{
    const quint32 size = quint32(message.size());
    const char header[] = {char(size), char(size >> 8), char(size >> 16), char(size >> 24)};
    return QByteArray(header, 4) + message;
}

} // namespace

class tst_cMessageSocket : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Where local sockets are files, they live in the folder for temporary files.
        qputenv("TMPDIR", QFile::encodeName(m_sandbox.path()));
        QVERIFY(m_server.listen(QStringLiteral("norvale-messages-%1").arg(QCoreApplication::applicationPid())));
    }
    void init()
    {
        m_socket.onWait = [this] { return m_socket.reallyWait(); };
        m_socket.waits.clear();
        connectEnds();
    }
    void cleanup() { m_socket.abort(); }
    void write_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("wire");

        QTest::newRow("abc") << QByteArray("abc") << QByteArray("\x03\0\0\0abc", 7);
        for (int size : {0, 255, 256, 65536, 300000})
            QTest::addRow("%d bytes", size) << QByteArray(size, 'x') << frame(QByteArray(size, 'x'));
    }
    void write()
    {
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, wire);

        cMessageSocket(&m_socket).writeMessage(message);
        cMessageSocket(&m_socket).writeMessage("next");
        wire += frame("next");
        QByteArray got;
        while (got.size() < wire.size() && (m_peer->bytesAvailable() > 0 || m_peer->waitForReadyRead(30000))) {
            got += m_peer->readAll();
            m_socket.flush();
        }
        QVERIFY(got == wire);
    }
    void availableFromTheFifthByte()
    {
        const cMessageSocket messages(&m_socket);
        QVERIFY(!messages.messageAvailable());
        QVERIFY2(deliver(frame("")) && !messages.messageAvailable(), "an empty message alone is not told");
        QVERIFY(deliver("x") && messages.messageAvailable());
    }
    void read_data()
    {
        QTest::addColumn<QByteArrayList>(
            "pieces"); // the first is there before the read, each other one comes in a wait
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("rest");

        const auto row = [](const char* name, const QByteArrayList& pieces, const QByteArray& message,
                            const QByteArray& rest) { QTest::newRow(name) << pieces << message << rest; };
        const QByteArray large = QByteArray("0123456789abcde").repeated(200000);
        row("whole", {frame("abc")}, "abc", "");
        row("large", {frame(large).left(70000), frame(large).mid(70000) + "next"}, large, "next");
        row("empty message", {frame("")}, "", "");
        row("negative length", {QByteArray(4, char(0xff)) + "abc"}, "", "abc");
        row("nothing there yet", {""}, "", "");
        row("in pieces", {frame("abcdef").left(5), "bc", "def"}, "abcdef", "");
        row("length alone first", {frame("ab").left(4), "a", "b"}, "ab", "");
        row("short length counts as its low byte", {"\x02", "ab"}, "ab", "");
        row("next frame stays", {frame("a") + frame("bc")}, "a", frame("bc"));
        row("next frame behind a piece", {frame("ab").left(5), "b" + frame("")}, "ab", frame(""));
    }
    void read()
    {
        QFETCH(QByteArrayList, pieces);

        QVERIFY(deliver(pieces.takeFirst()));
        const int pieceCount = pieces.size();
        m_socket.onWait = [&] { return !pieces.isEmpty() && deliver(pieces.takeFirst()); };
        QTEST(cMessageSocket(&m_socket).readMessage(), "message");
        QCOMPARE(m_socket.waits, QVector<int>(pieceCount, -1).toList());
        QTEST(m_socket.readAll(), "rest");
    }
    void interrupted_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("later");

        const QByteArray part = frame("abcdef").left(7);
        QTest::newRow("wait fails") << "fail" << part << QByteArray() << QByteArray();
        QTest::newRow("peer goes, so the wait fails") << "leave" << part << QByteArray() << QByteArray();
        QTest::newRow("socket becomes invalid") << "abort" << part << QByteArray("abc") << QByteArray("again");
        QTest::newRow("2 GB announced") << "abort" << QByteArray::fromHex("ffffff7f") + "abc" << QByteArray("abc")
                                        << QByteArray("again");
    }
    void interrupted()
    {
        QFETCH(QString, how);
        QFETCH(QByteArray, wire);

        cMessageSocket messages(&m_socket);
        QVERIFY(deliver(wire));
        m_socket.onWait = [&] {
            if (how == "leave")
                m_peer->disconnectFromServer();
            if (how == "abort")
                m_socket.abort();
            return how == "abort" || (how == "leave" && m_socket.reallyWait());
        };
        const QByteArray message = messages.readMessage();
        QTEST(message, "message");
        QVERIFY2(message.capacity() < 64 * 1024, "the announced length is not allocated");

        m_socket.abort();
        connectEnds();
        QVERIFY(deliver(frame("again")));
        QTEST(messages.readMessage(), "later");
    }
    void reentryAnswersEmpty()
    {
        cMessageSocket messages(&m_socket);
        QVERIFY(deliver(frame("abc").left(5)));
        QByteArray inner = "unset";
        m_socket.onWait = [&] {
            const bool isDelivered = deliver("bc");
            inner = messages.readMessage();
            return isDelivered;
        };
        QCOMPARE(messages.readMessage(), QByteArray("abc"));
        QCOMPARE(inner, QByteArray());
    }

private:
    void connectEnds()
    {
        m_socket.connectToServer(m_server.serverName());
        QVERIFY(m_socket.waitForConnected(30000));
        QVERIFY(m_server.hasPendingConnections() || m_server.waitForNewConnection(30000));
        m_peer = m_server.nextPendingConnection();
    }
    /// The peer sends raw bytes, and they arrive.
    bool deliver(const QByteArray& bytes)
    {
        const qint64 expected = m_socket.bytesAvailable() + bytes.size();
        m_peer->write(bytes);
        while (m_socket.bytesAvailable() < expected && m_peer->flush() | m_socket.reallyWait()) {
        }
        return m_socket.bytesAvailable() == expected;
    }

    SettingsSandbox m_sandbox;
    QLocalServer m_server;
    cScriptedSocket m_socket;
    QLocalSocket* m_peer = nullptr; ///< The server's end; deleted with the server.
};

QTEST_GUILESS_MAIN(tst_cMessageSocket)
#include "tst_cMessageSocket.moc"
