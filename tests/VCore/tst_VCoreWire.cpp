#include "HostFixture.h"

#include "wire/cHostServer.h"

/// True when the other side ends the connection within ten seconds.
static bool hasEnded(QLocalSocket& socket)
{
    return socket.state() == QLocalSocket::UnconnectedState || socket.waitForDisconnected(10000);
}

class tst_VCoreWire : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

private slots:
    void initTestCase() { QVERIFY(m_fixture.serve()); }
    // Who reads late has all answers, more than a socket holds, though the host ends.
    void cleanupTestCase()
    {
        const auto late = m_fixture.connectClient(
            frame(R"({"command":"CALL","service_id":"Text","method":"filled","args":[1048576]})") +
            frame(R"({"command":"CALL","service_id":"VCore","method":"quit","request":2})"));
        late->setReadBufferSize(1); // without a limit Qt reads for it on Windows, whenever this thread waits
        m_fixture.host().waitForFinished(cHostServer::MillisecondsToRead / 2);
        late->setReadBufferSize(0);
        QCOMPARE(framesUntil(*late, R"("HANDLED","request":2)").size(), 4);
        QCOMPARE(exitCodeOf(m_fixture.host()), 0);
    }

    // The first one: calls load further plugins.
    void listsTheRunningHost()
    {
        const QString table = m_fixture.run("--list").output;
        for (const char* line : {"\nBase .* yes +started ", "\nLater .* no +ordered .* not asked for\n", "Text, VCore"})
            QVERIFY2(table.contains(QRegularExpression(line)), qPrintable(table));
    }

    void answersCommands_data()
    {
        const Rows<QStringList, ExitCode, QString> rows("words", "code", "said");
        const auto row = [&](const char* name, const QString& words, ExitCode code, const QString& said) {
            rows(name, wordsOf(words), code, said);
        };
        constexpr ExitCode Ok = ExitCode::Ok;
        constexpr ExitCode Failed = ExitCode::CallFailed;
        row("text beyond ASCII", "--call Text upper grün", Ok, "GRÜN\n");
        row("text that looks like an option", "--call Text upper --x", Ok, "--X\n");
        row("text that looks like a number", "--call Text digits", Ok, "007\n");
        row("text prefers the overload for text", "--call Text kind 12", Ok, "text\n");
        row("a number prefers the one for numbers", "--json --call Text kind 12", Ok, "\"int\"\n");
        row("converted to two types", "--call Text kind true 1.5", Ok, "bool, double\n");
        row("default argument", "--call Text add 4", Ok, "5\n");
        row("negative numbers", "--call Text add -4 -6", Ok, "-10\n");
        row("64 bits as text", "--call Text longer 9223372036854775807", Ok, "9223372036854775807\n");
        row("64 bits as a number", "--json --call Text longer -9007199254740992", Ok, "-9007199254740992\n");
        row("all digits of a double", "--call Text third", Ok, "0.3333333333333333\n");
        row("void", "--call Text nothing", Ok, "");
        row("list", "--json --call Text reversed [\"a\",\"b\"]", Ok, "[\"b\",\"a\"]\n");
        row("variants", "--json --call Text pair [1,{\"x\":null}] \"12\"", Ok,
            "{\"a \\\"a\\\"\":[1,{\"x\":null}],\"b\":\"12\"}\n");
        row("JSON value", "--json --call Text member {\"member\":{\"n\":1.5}}", Ok, "{\"n\":1.5}\n");
        row("a type of Qt", "--call Text host http://example.org/x", Ok, "example.org\n");
        row("ten arguments", "--call Text ten 1 2 3 4 5 6 7 8 9 10", Ok, "[\"45\",\"10\"]\n");
        row("method that throws", "--call Text fail", Failed,
            "The service \"Text\" threw an exception: out of ink in \"fail\"");
        row("signals are no methods", "--call Text changed", Failed, "no method \"changed\"");
        row("QObject's own are no methods", "--call Text deleteLater", Failed, "no method \"deleteLater\"");
        row("not a number", "--call Text add four", Failed, "fit none of: add(int,int), add(int)");
        row("out of range", "--call Text add 2147483648", Failed, "fit none of");
        row("half a number", "--json --call Text add 1.5", Failed, "fit none of");
        row("result without a JSON form", "--call Text unknown", Failed, "QThread*");
        row("sent no JSON", "--send nonsense", Failed,
            "{\"command\":\"ERROR\",\"error\":\"not_json\",\"text\":\"the message is no JSON\"}\n");
        row("sent and answered twice", "--send {\"command\":\"ECHO_Base\"}", Ok,
            "{\"command\":\"ECHOED\",\"part\":1}\n{\"command\":\"ECHOED\",\"part\":2}\n");
        row("over the time limit", "--timeout 0.2 --call Text sleep 1500", ExitCode::Timeout, "in time");

        // Arguments are taken as they stand.
        const auto upper = [&](const char* name, const QString& argument) {
            rows(name, {"--call", "Text", "upper", argument}, Ok, argument.toUpper() + '\n');
        };
        upper("an empty one", "");
        upper("brackets", "[a,b]");
        upper("braces", "{}");
        upper("an option without a value", "--timeout=");
        upper("two dashes", "--");
        upper("a slash", "/call");
        upper("a blank and quotes", " \"a\" ");
        row("behind two dashes", "--call -- Text upper a", Ok, "A\n");
        row("the last of two options", "--timeout=0 --timeout 30 --call Text upper a", Ok, "A\n");
    }
    void answersCommands()
    {
        const auto [code, said, words] = cells<ExitCode, QString, QStringList>("code", "said", "words");
        const Ended ended = m_fixture.run(words);
        const bool isSaid = ended.output == said || (ended.output.isEmpty() && ended.reasons.contains(said));
        QVERIFY2(isSaid, qPrintable(ended.output + ended.reasons));
        QCOMPARE(ended.code, int(code));
    }

    void answersMessages_data();
    void answersMessages()
    {
        QFETCH(QByteArray, message);
        const auto client = m_fixture.connectClient(frame(message));
        QTEST(framesUntil(*client, "HANDLED"), "answers");
    }

    void announcesServicesToAllClients()
    {
        const auto first = m_fixture.connectClient(frame(R"({"command":"X"})"));
        const auto second = m_fixture.connectClient(frame(R"({"command":"X"})"));
        const auto bothGet = [&](const char* text) {
            return framesUntil(*first, text).size() == 1 && framesUntil(*second, text).size() == 1;
        };
        QVERIFY(bothGet("HANDLED"));
        // Each call loads the plugin of the service. The client that causes it takes the announcement for no answer.
        QCOMPARE(m_fixture.run("--call OnDemand name").output, QString("OnDemand\n"));
        QVERIFY(bothGet(R"({"command":"NEWSERVICE","service_id":"OnDemand"})"));
        const auto hasty = m_fixture.connectClient(frame(R"({"command":"CALL","service_id":"Later","method":"name"})"));
        hasty->disconnectFromServer(); // is heard, though it does not wait for an answer
        QVERIFY(bothGet(R"({"command":"NEWSERVICE","service_id":"Later"})"));
    }

    void takesFramesInPieces()
    {
        const auto client = m_fixture.connectClient();
        for (const char byte : frame(R"({"command":"ECHO_Base"})") + frame(R"({"command":"X","request":2})")) {
            client->write(&byte, 1);
            client->flush();
            QTest::qWait(1);
        }
        QCOMPARE(framesUntil(*client, "\"request\":2").size(), 4);
    }

    void endsOnlyTheFaultyConnection_data()
    {
        const Rows<QByteArray> row("bytes");
        row("over the limit", QByteArray("\x01\x00\x00\x01", 4));
        row("negative length", "\xff\xff\xff\xff");
    }
    void endsOnlyTheFaultyConnection()
    {
        QFETCH(QByteArray, bytes);
        const auto other = m_fixture.connectClient();
        const auto faulty = m_fixture.connectClient(bytes);
        QVERIFY(hasEnded(*faulty));
        other->write(frame(R"({"command":"ECHO_Base"})"));
        QCOMPARE(framesUntil(*other, "HANDLED").size(), 3);
    }

    void servesOthersBesideAClientThatDoesNotRead()
    {
        constexpr int MebiByte = 1024 * 1024;
        const QByteArray call = frame(R"({"command":"CALL","service_id":"Text","method":"filled","args":[1048576]})");
        const int tooMany = int(cClientConnection::MaxPending / MebiByte) + 10;
        const auto lazy = m_fixture.connectClient(call.repeated(tooMany));
        lazy->setReadBufferSize(64 * 1024); // it would be read for, as above
        const auto other = m_fixture.connectClient(frame(R"({"command":"ECHO_Base"})"));
        QCOMPARE(framesUntil(*other, "HANDLED").size(), 3);
        qint64 received = 0;
        while (lazy->waitForReadyRead(10000))
            received += lazy->readAll().size();
        QVERIFY(hasEnded(*lazy));
        QVERIFY2(received < qint64(tooMany) * MebiByte, qPrintable(QString::number(received)));
    }
};

void tst_VCoreWire::answersMessages_data()
{
    const Rows<QByteArray, QByteArrayList> row("message", "answers");
    const QByteArray handled = R"({"command":"HANDLED"})";
    row("no object", "[1]", {handled});
    row("as long as may be", R"({"command":"X"})" + QByteArray(cFrameDecoder::MaxPayload - 15, ' '), {handled});
    row("text as request", R"({"command":"X","request":"\u00e9"})", {R"({"command":"HANDLED","request":"é"})"});
    row("UTF-8, a number as request", R"({"command":"é","request":7})", {R"({"command":"HANDLED","request":7})"});
    row("a list is no request", R"({"command":"X","request":[7]})", {handled});
    row("a command that is no text", R"({"command":{"a":1}})", {handled});
    row("NEWSERVICE of a client", R"({"command":"NEWSERVICE","service_id":"Fake"})", {handled});
    const auto call = [](const QByteArray& method, const QByteArray& rest) -> QByteArray {
        return R"({"command":"CALL","service_id":"Text","method":")" + method + R"(","args":)" + rest + '}';
    };
    row("call", call("add", R"([1,2],"request":1)"),
        {R"({"command":"RESULT","request":1,"type":"int","value":3})", R"({"command":"HANDLED","request":1})"});
    const auto error = [&](const char* name, const QByteArray& message, const QByteArray& text) {
        row(name, message, {R"({"command":"ERROR","error":")" + text + "\"}", handled});
    };
    error("an empty message is no JSON", "", R"(not_json","text":"the message is no JSON)");
    error("no members", R"({"command":"CALL"})", R"(unknown_service","text":"no service is named)");
    const QByteArray unfit = R"(arguments_do_not_fit","text":"the arguments fit none of: )";
    error("arguments that are no list", call("upper", R"("a")"), unfit + "upper(QString)");
    error("a long request, and no answer to it that fits",
          call("filled", R"([16777200],"request":")" + QByteArray(257, 'r') + '"'),
          R"(answer_too_large","text":"the answer has 16777248 bytes)");
    error("handler that throws", R"({"command":"THROW_Base"})",
          R"(handler_failed","text":"a handler threw an exception: key not found)");
    error("nested without end", call("pair", "[1," + QByteArray(200000, '[') + QByteArray(200000, ']') + ']'),
          unfit + "pair(QVariant,QVariant)");
}

QTEST_GUILESS_MAIN(tst_VCoreWire)
#include "tst_VCoreWire.moc"
