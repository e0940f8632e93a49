#include "HostFixture.h"

#include "ExitCode.h"
#include "wire/cClientConnection.h"

#include <QtNetwork/QLocalSocket>
#include <QtTest/QtTest>

class tst_VCoreWire : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void callsAMethod_data();
    void callsAMethod();
    void sendPrintsEveryAnswer();
    void givesUpAfterTheTimeLimit();
    void answers_data();
    void answers();
    void announcesServicesToAllClients();
    void takesFramesInPieces();
    void endsOnlyTheFaultyConnection_data();
    void endsOnlyTheFaultyConnection();
    void servesOthersBesideAClientThatDoesNotRead();
    void hearsAClientThatLeavesAtOnce();

private:
    HostFixture m_fixture;
    std::unique_ptr<QProcess> m_host;
};

void tst_VCoreWire::initTestCase()
{
    m_host = m_fixture.serve();
    QVERIFY(m_host);
}

void tst_VCoreWire::cleanupTestCase()
{
    QVERIFY(m_host);
    QCOMPARE(m_fixture.run({"--call", "VCore", "quit"}).code, 0);
    QCOMPARE(HostFixture::exitCodeOf(*m_host), 0);
}

void tst_VCoreWire::callsAMethod_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("printed");
    QTest::addColumn<QString>("reason");
    const auto ok = [](const char* name, const QStringList& words, const QString& printed) {
        QTest::newRow(name) << words << printed << QString();
    };
    const auto bad = [](const char* name, const QStringList& words, const QString& reason) {
        QTest::newRow(name) << words << QString() << reason;
    };
    ok("text beyond ASCII", {"--call", "Text", "upper", QString::fromUtf8("grün")}, QString::fromUtf8("GRÜN\n"));
    ok("text that looks like an option", {"--call", "Text", "upper", "--x"}, "--X\n");
    ok("text that looks like a number", {"--call", "Text", "digits"}, "007\n");
    ok("text prefers the overload for text", {"--call", "Text", "kind", "12"}, "text\n");
    ok("a number prefers the one for numbers", {"--json", "--call", "Text", "kind", "12"}, "\"int\"\n");
    ok("converted to two types", {"--call", "Text", "kind", "true", "1.5"}, "bool, double\n");
    ok("default argument", {"--call", "Text", "add", "4"}, "5\n");
    ok("negative numbers", {"--call", "Text", "add", "-4", "-6"}, "-10\n");
    ok("64 bits as text", {"--call", "Text", "longer", "9223372036854775807"}, "9223372036854775807\n");
    ok("64 bits as a number", {"--json", "--call", "Text", "longer", "-9007199254740992"}, "-9007199254740992\n");
    ok("all digits of a double", {"--call", "Text", "third"}, "0.3333333333333333\n");
    ok("void", {"--call", "Text", "nothing"}, "");
    ok("list", {"--json", "--call", "Text", "reversed", R"(["a","b"])"}, "[\"b\",\"a\"]\n");
    ok("list as text", {"--call", "Text", "reversed", R"(["a","b"])"}, "[\"b\",\"a\"]\n");
    ok("variants", {"--json", "--call", "Text", "pair", "[1,{\"x\":null}]", "\"12\""},
       "{\"a \\\"a\\\"\":[1,{\"x\":null}],\"b\":\"12\"}\n");
    ok("JSON value", {"--json", "--call", "Text", "member", R"({"member":{"n":1.5}})"}, "{\"n\":1.5}\n");
    ok("a type of Qt", {"--call", "Text", "host", "http://example.org/x"}, "example.org\n");
    ok("ten arguments", {"--call", "Text", "joined", "0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}, "0123456789\n");
    ok("loads the plugin of the service", {"--call", "OnDemand", "name"}, "OnDemand\n");
    bad("unknown service", {"--call", "Nobody", "x"}, "there is no service \"Nobody\"");
    bad("unknown method", {"--call", "Text", "lower", "x"}, "no method \"lower\"");
    bad("signals are no methods", {"--call", "Text", "changed"}, "no method \"changed\"");
    bad("QObject's own are no methods", {"--call", "Text", "deleteLater"}, "no method \"deleteLater\"");
    bad("too few arguments", {"--call", "Text", "upper"}, "fit none of: upper(QString)");
    bad("not a number", {"--call", "Text", "add", "four"}, "fit none of: add(int,int), add(int)");
    bad("out of range", {"--call", "Text", "add", "2147483648"}, "fit none of");
    bad("half a number", {"--json", "--call", "Text", "add", "1.5"}, "fit none of");
    bad("result without a JSON form", {"--call", "Text", "unknown"}, "QThread*");
}

void tst_VCoreWire::callsAMethod()
{
    QFETCH(QStringList, words);
    QFETCH(QString, printed);
    QFETCH(QString, reason);
    const HostFixture::Ended ended = m_fixture.run(words);
    QCOMPARE(ended.output, printed);
    QVERIFY2(ended.reasons.contains(reason), qPrintable(ended.reasons));
    QCOMPARE(ended.code, int(reason.isEmpty() ? ExitCode::Ok : ExitCode::CallFailed));
}

void tst_VCoreWire::sendPrintsEveryAnswer()
{
    const HostFixture::Ended ended = m_fixture.run({"--send", R"({"command":"ECHO"})"});
    QCOMPARE(ended.output, QString("{\"command\":\"ECHOED\",\"part\":1}\n{\"command\":\"ECHOED\",\"part\":2}\n"));
    QCOMPARE(ended.code, 0);
    QCOMPARE(m_fixture.run({"--send", "nonsense"}).code, int(ExitCode::CallFailed));
}

void tst_VCoreWire::givesUpAfterTheTimeLimit()
{
    QCOMPARE(m_fixture.run({"--timeout", "0.2", "--call", "Text", "sleep", "1500"}).code, int(ExitCode::Timeout));
}

void tst_VCoreWire::answers_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArrayList>("answers");
    const auto row = [](const char* name, const QByteArray& message, const QByteArrayList& answers) {
        QTest::newRow(name) << message << answers;
    };
    const QByteArray handled = R"({"command":"HANDLED"})";
    row("empty message", "", {R"({"command":"ERROR","error":"not_json","text":"the message is no JSON"})", handled});
    row("no JSON", "{", {R"({"command":"ERROR","error":"not_json","text":"the message is no JSON"})", handled});
    row("no object", "[1]", {handled});
    row("nobody's command", R"({"command":"X","request":"\u00e9"})", {"{\"command\":\"HANDLED\",\"request\":\"é\"}"});
    row("UTF-8 and a number as request", "{\"command\":\"é\",\"request\":7}", {R"({"command":"HANDLED","request":7})"});
    row("a list is no request", R"({"command":"X","request":[7]})", {handled});
    row("a long request, and no answer to it that fits",
        R"({"command":"CALL","service_id":"Text","method":"filled","args":[16777200],"request":")" +
            QByteArray(257, 'r') + "\"}",
        {R"({"command":"ERROR","error":"answer_too_large","text":"the answer has 16777248 bytes"})", handled});
    row("a command that is no text", R"({"command":{"a":1}})", {handled});
    row("NEWSERVICE of a client", R"({"command":"NEWSERVICE","service_id":"Fake"})", {handled});
    row("call", R"({"command":"CALL","service_id":"Text","method":"add","args":[1,2],"request":1})",
        {R"({"command":"RESULT","request":1,"type":"int","value":3})", R"({"command":"HANDLED","request":1})"});
    row("call without members", R"({"command":"CALL"})",
        {R"({"command":"ERROR","error":"unknown_service","text":"there is no service \"\""})", handled});
    row("arguments that are no list", R"({"command":"CALL","service_id":"Text","method":"upper","args":"a"})",
        {R"x({"command":"ERROR","error":"arguments_do_not_fit","text":"the arguments fit none of: upper(QString)"})x",
         handled});
    row("answer over the limit", R"({"command":"CALL","service_id":"Text","method":"filled","args":[16777216]})",
        {R"({"command":"ERROR","error":"answer_too_large","text":"the answer has 16777264 bytes"})", handled});
    row("handler that throws", R"({"command":"THROW"})",
        {R"({"command":"ERROR","error":"handler_failed","text":"a handler threw: key not found"})", handled});
    const QByteArray deep = QByteArray(200000, '[') + QByteArray(200000, ']');
    row("nested without end", R"({"command":"CALL","service_id":"Text","method":"pair","args":[1,)" + deep + "]}",
        {R"({"command":"ERROR","error":"arguments_do_not_fit","text":)"
         R"x("the arguments fit none of: pair(QVariant,QVariant)"})x",
         handled});
}

void tst_VCoreWire::answers()
{
    QFETCH(QByteArray, message);
    QFETCH(QByteArrayList, answers);
    const auto client = m_fixture.connectClient(frame(message));
    QCOMPARE(framesUntil(*client, "HANDLED"), QList<QByteArray>(answers));
}

void tst_VCoreWire::announcesServicesToAllClients()
{
    const auto first = m_fixture.connectClient(frame(R"({"command":"X"})"));
    const auto second = m_fixture.connectClient(frame(R"({"command":"X"})"));
    QVERIFY(!framesUntil(*first, "HANDLED").isEmpty());
    QVERIFY(!framesUntil(*second, "HANDLED").isEmpty());
    // the client that causes it takes the announcement for no answer
    const HostFixture::Ended sent = m_fixture.run({"--send", R"({"command":"ANNOUNCE"})"});
    QCOMPARE(sent.output, QString());
    QCOMPARE(sent.code, 0);
    for (QLocalSocket* socket : {first.get(), second.get()})
        QCOMPARE(framesUntil(*socket, "Announced"),
                 QList<QByteArray>({R"({"command":"NEWSERVICE","service_id":"Announced"})"}));
}

void tst_VCoreWire::takesFramesInPieces()
{
    const auto client = m_fixture.connectClient();
    const QByteArray bytes = frame(R"({"command":"ECHO"})") + frame(R"({"command":"X","request":2})");
    for (const char byte : bytes) {
        client->write(&byte, 1);
        client->flush();
        QTest::qWait(1);
    }
    QCOMPARE(framesUntil(*client, "\"request\":2").size(), 4);
}

void tst_VCoreWire::endsOnlyTheFaultyConnection_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("over the limit") << QByteArray("\x01\x00\x00\x01", 4);
    QTest::newRow("largest length") << QByteArray("\xff\xff\xff\x7f", 4);
    QTest::newRow("negative length") << QByteArray("\xff\xff\xff\xff", 4);
}

void tst_VCoreWire::endsOnlyTheFaultyConnection()
{
    QFETCH(QByteArray, bytes);
    const auto other = m_fixture.connectClient();
    const auto faulty = m_fixture.connectClient(bytes);
    QVERIFY(isEnded(*faulty));
    other->write(frame(R"({"command":"ECHO"})"));
    QCOMPARE(framesUntil(*other, "HANDLED").size(), 3);
}

void tst_VCoreWire::servesOthersBesideAClientThatDoesNotRead()
{
    constexpr int MebiByte = 1024 * 1024;
    const QByteArray call = frame(R"({"command":"CALL","service_id":"Text","method":"filled","args":[1048576]})");
    const int tooMany = int(cClientConnection::MaxPending / MebiByte) + 10;
    const auto lazy = m_fixture.connectClient(call.repeated(tooMany));
    const auto other = m_fixture.connectClient(frame(R"({"command":"ECHO"})"));
    QCOMPARE(framesUntil(*other, "HANDLED").size(), 3);
    qint64 received = 0;
    while (lazy->waitForReadyRead(10000))
        received += lazy->readAll().size();
    QVERIFY(isEnded(*lazy));
    QVERIFY2(received < qint64(tooMany) * MebiByte, qPrintable(QString::number(received)));
}

void tst_VCoreWire::hearsAClientThatLeavesAtOnce()
{
    const auto watcher = m_fixture.connectClient(frame(R"({"command":"X"})"));
    QVERIFY(!framesUntil(*watcher, "HANDLED").isEmpty());
    {
        const auto hasty = m_fixture.connectClient(frame(R"({"command":"ANNOUNCE"})"));
        hasty->disconnectFromServer();
    }
    QVERIFY(!framesUntil(*watcher, "NEWSERVICE").isEmpty());
}

QTEST_GUILESS_MAIN(tst_VCoreWire)
#include "tst_VCoreWire.moc"
