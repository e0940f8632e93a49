#include "HostFixture.h"

namespace {
/// A file of the host's data folder.
QString dataFile(const QString& name)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Varkel/VCore/" + name;
}

} // namespace

/// Runs the example suite in the reference host and looks at it from outside, as a user does.
class tst_ExampleSuite : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

    void serve(const QString& categories = "base,ui") { QVERIFY(m_fixture.serve({"--categories", categories})); }

    /// What a service method returned, as the host prints it.
    QString call(const QStringList& words) const
    {
        const Ended ended = m_fixture.run(QStringList{"--call"} + words);
        return ended.code == 0 ? ended.output.trimmed() : QString("failed: %1 ").arg(ended.code) + ended.reasons;
    }

    static QString journal() { return Platform::consoleText(readFile(dataFile("journal.log"))); }

private slots:
    void init()
    {
        m_fixture.useSuite(EXAMPLE_SUITE);
        m_fixture.setMachineValue("ConfigMgr/Locale", "en_US");
        QDir(dataFile("")).removeRecursively();
    }

    void cleanup() { QCOMPARE(m_fixture.quit(), 0); }

    void greetsInTheLanguageOfTheMachine_data()
    {
        const Rows<QString, QString, QString, QStringList, QString> row("suite", "locale", "greeting", "then", "said");
        const QString one = EXAMPLE_SUITE;
        const QStringList stranger{"Greeter", "greet", ""};
        row("translated", one, "de_DE", "Guten Tag, Zoë!", stranger, "Guten Tag, Unbekannte Person!");
        row("no such translation", one, "fr_FR", "Hello, Zoë!", stranger, "Hello, stranger!");
        const QString two = EXAMPLE_SUITE "-2";
        const QStringList goodbye{"Farewell", "sayGoodbye"};
        row("release two", two, "", "Welcome, Zoë! Please take a seat.", goodbye, "Goodbye, Zoë!");
        row("release two, translated", two, "de_DE", "Willkommen, Zoë! Bitte nehmen Sie Platz.", goodbye,
            "Auf Wiedersehen, Zoë!");
    }
    void greetsInTheLanguageOfTheMachine()
    {
        const auto [suite, locale, then] = cells<QString, QString, QStringList>("suite", "locale", "then");
        m_fixture.useSuite(suite);
        m_fixture.setMachineValue("ConfigMgr/Locale", locale);
        serve();
        QTEST(call({"Greeter", "greet", "Zoë"}), "greeting");
        QTEST(call(then), "said");
    }

    void answersMessages_data();
    void answersMessages()
    {
        const auto [message, answer] = cells<QString, QString>("message", "answer");
        serve();
        const Ended ended = m_fixture.run({"--send", "{\"command\":" + message + '}'});
        QVERIFY2(ended.output.isEmpty() == answer.isEmpty(), qPrintable(ended.reasons));
        QCOMPARE(QJsonDocument::fromJson(ended.output.toUtf8()),
                 QJsonDocument::fromJson("{\"command\":" + answer.toUtf8() + '}')); // no document when there is none
    }

    void keepsSettingsOverARestart()
    {
        serve("none"); // what is needed starts with those that are marked autoload
        QCOMPARE(call({"Settings", "setValue", "Greeter/Name", "Ümit \"U\" \\"}), QString("true"));
        QCOMPARE(call({"Greeter", "greet", ""}), QString("Hello, Ümit \"U\" \\!"));
        QCOMPARE(m_fixture.quit(), 0);
        serve();
        QCOMPARE(call({"Greeter", "greet", ""}), QString("Welcome back, Ümit \"U\" \\! This is visit number 2."));
        QCOMPARE(call({"Settings", "remove", "Greeter/Name"}), QString("true"));
        QCOMPARE(call({"Settings", "value", "Greeter/Name"}), QString());
    }

    void setsABrokenSettingsFileAside()
    {
        const QByteArray broken = R"({"Greeter/Name":"Ada",)";
        writeFile(dataFile("settings.json"), broken);
        serve();
        QCOMPARE(call({"Settings", "keys"}), QString("[]"));
        QCOMPARE(readFile(dataFile("settings.json.broken")), broken);
    }

    void refusesHarmfulKeys()
    {
        writeFile(dataFile("settings.json"), R"({"number":7,"list":[1,"a"]})");
        serve();
        for (const QString key : {"", "a\"b", "a\\", "a b", "ä", "a\n"})
            QCOMPARE(call({"Settings", "setValue", key, "1"}), QString("false"));
        QCOMPARE(call({"Settings", "setValue", "good", "1"}), QString("true"));
        QCOMPARE(call({"Settings", "value", "list"}), QString("[1,\"a\"]"));
        QCOMPARE(QJsonDocument::fromJson(readFile(dataFile("settings.json"))).object(),
                 QJsonDocument::fromJson(R"({"good":"1","number":7,"list":[1,"a"]})").object());
    }

    void beatsAtTheIntervalOfTheSettings()
    {
        serve();
        QCOMPARE(call({"Heartbeat", "interval"}), QString("60000"));
        QCOMPARE(call({"Settings", "setValue", "Heartbeat/Interval", "20"}), QString("true"));
        QCOMPARE(call({"Settings", "setValue", "Heartbeat/Interval", "often"}), QString("true"));
        QCOMPARE(call({"Heartbeat", "interval"}), QString("20"));
        QTRY_VERIFY_WITH_TIMEOUT(call({"Heartbeat", "beats"}).toInt() > 2, 20000);
        QVERIFY(journal().contains("heartbeat: beat 2\n"));
    }

    void journalTellsWhatHappened()
    {
        serve();
        m_fixture.run({"--send", R"({"command":"GREET","name":"Ada\nPlugins: x"})"});
        QCOMPARE(m_fixture.quit(), 0);
        QStringList lines;
        for (const QString& line : journal().split('\n', Qt::SkipEmptyParts))
            lines.append(line.section("  ", 1).replace(QRegularExpression("client \\d+"), "a client"));
        QCOMPARE(lines, (QStringList{"services: Journal is there", "Journal: begins", "services: Heartbeat is there",
                                     "plugins: the category base is loaded", "services: Greeter is there",
                                     "plugins: the category ui is loaded", "commands: a client asks to GREET",
                                     "settings: Greeter/Visits/Ada%0APlugins%3A%20x is now \"1\"",
                                     "greeter: has greeted Ada Plugins: x", "Journal: ends"}));
    }
};

void tst_ExampleSuite::answersMessages_data()
{
    const Rows<QString, QString> row("message", "answer"); // each behind "command"
    const QString nothing = R"("ERROR","error":"command_failed","text":"\"%1\" must be a text")";
    row("greet", R"("GREET","name":"Ada","request":7)", R"("RESULT","value":"Hello, Ada!","request":7)");
    row("greet nobody known", R"("GREET")", R"("RESULT","value":"Hello, stranger!")");
    row("placeholders are no code", R"("GREET","name":"%1 %2")", R"("RESULT","value":"Hello, %1 %2!")");
    row("a request that is none", R"("GREET","name":"Ada","request":{"a\"":1})", R"("RESULT","value":"Hello, Ada!")");
    row("a name that is none", R"("GREET","name":{"a":[]})", R"("RESULT","value":"Hello, stranger!")");
    row("remember", R"("REMEMBER","name":"\u00dcmit \"U\"")", R"("RESULT","value":true)");
    row("remember nothing", R"("REMEMBER","name":7)", nothing.arg("name"));
    row("count", R"("COUNT","text":"A na\u00efve fianc\u00e9e. Really?")",
        R"("RESULT","value":{"words":4,"sentences":2,"characters":24})");
    row("count nothing", R"("COUNT","text":"")", R"("RESULT","value":{"words":0,"sentences":0,"characters":0})");
    row("count no text", R"("COUNT","text":null)", nothing.arg("text"));
    row("no lines of the journal", R"("JOURNAL","lines":-2147483000)", R"("RESULT","value":[])");
    row("a command of nobody", R"("greet","name":"Ada")", "");
}

QTEST_GUILESS_MAIN(tst_ExampleSuite)

#include "tst_ExampleSuite.moc"
