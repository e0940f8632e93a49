#include "HostFixture.h"
#include "Rows.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>

#include <algorithm>

namespace {
const QStringList WithCategories{"--categories", "base,ui"};

/// A file of the host's data folder.
QString dataFile(const QString& name)
{
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Varkel/VCore");
    folder.mkpath(".");
    return folder.absoluteFilePath(name);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

/// The fixture has redirected the machine's settings.
void setLocale(const QString& locale)
{
    QSettings(QSettings::SystemScope, "Varkel", "Pelmora").setValue("ConfigMgr/Locale", locale);
}

/// The plugins of the spans of @p kind in a host's trace, in order of time.
QStringList pluginsInTrace(const QString& path, const QString& kind)
{
    QStringList plugins;
    for (const QJsonValue& span : HostFixture::spansOf(path))
        if (span["cat"] == kind)
            plugins.append(span["args"]["plugin"].toString());
    return plugins;
}
} // namespace

/// Runs the example suite in the reference host and looks at it from outside, as a user does.
class tst_ExampleSuite : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

    void serve(const QStringList& arguments = WithCategories) { QVERIFY(m_fixture.serve(arguments)); }

    /// What a service method returned, as the host prints it.
    QString call(const QStringList& words) const
    {
        const HostFixture::Ended ended = m_fixture.run(QStringList{"--call"} + words);
        return ended.code == 0 ? ended.output.trimmed() : "failed: " + ended.reasons;
    }

private slots:
    void init()
    {
        m_fixture.useSuite(EXAMPLE_SUITE);
        setLocale("en_US");
        QDir(QFileInfo(dataFile("x")).path()).removeRecursively();
    }

    void cleanup() { QCOMPARE(m_fixture.quit(), 0); }

    void startsAndStopsInOrder_data()
    {
        const Rows<QStringList, QStringList, QStringList> row("arguments", "called", "order");
        row("autoload only, with what it needs", {}, {}, {"ZentraSettings", "Journal", "Greeter", "Commands"});
        row("by categories", WithCategories, {}, {"ZentraSettings", "Journal", "Heartbeat", "Greeter", "Commands"});
        row("categories the other way round", {"--categories", "ui,base"}, {},
            {"ZentraSettings", "Greeter", "Journal", "Heartbeat", "Commands"});
        row("one on demand", {}, {"WordCount", "words", "one two"},
            {"ZentraSettings", "Journal", "Greeter", "Commands", "WordCount"});
    }
    void startsAndStopsInOrder()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, called);
        QFETCH(QStringList, order);
        const QString trace = m_fixture.path("trace.json");
        serve(arguments + QStringList{"--trace", trace});
        if (!called.isEmpty())
            QCOMPARE(call(called), QString("2"));
        QCOMPARE(m_fixture.quit(), 0);

        QCOMPARE(pluginsInTrace(trace, "start"), order);
        std::reverse(order.begin(), order.end());
        QCOMPARE(pluginsInTrace(trace, "stop"), order);
    }

    void greetsInTheLanguageOfTheMachine_data()
    {
        const Rows<QString, QString, QString> row("locale", "greeting", "stranger");
        row("translated", "de_DE", "Guten Tag, Zoë!", "Guten Tag, Unbekannte Person!");
        row("no such translation", "fr_FR", "Hello, Zoë!", "Hello, stranger!");
        row("no locale", "", "Hello, Zoë!", "Hello, stranger!");
    }
    void greetsInTheLanguageOfTheMachine()
    {
        QFETCH(QString, locale);
        setLocale(locale);
        serve();
        QTEST(call({"Greeter", "greet", "Zoë"}), "greeting");
        QTEST(call({"Greeter", "greet", ""}), "stranger");
    }

    void releaseTwoSaysGoodbye_data()
    {
        const Rows<QString, QString, QString> row("locale", "greeting", "goodbye");
        row("untranslated", "", "Welcome, Zoë! Please take a seat.", "Goodbye, Zoë!");
        row("translated", "de_DE", "Willkommen, Zoë! Bitte nehmen Sie Platz.", "Auf Wiedersehen, Zoë!");
    }
    void releaseTwoSaysGoodbye()
    {
        QFETCH(QString, locale);
        setLocale(locale);
        m_fixture.useSuite(EXAMPLE_SUITE "-2");
        serve();
        QTEST(call({"Greeter", "greet", "Zoë"}), "greeting");
        QTEST(call({"Farewell", "sayGoodbye"}), "goodbye");
    }

    void answersMessages_data();
    void answersMessages()
    {
        QFETCH(QString, message);
        QFETCH(QString, answer);
        serve();
        const QString printed = m_fixture.run({"--send", message}).output;
        QCOMPARE(printed.isEmpty(), answer.isEmpty());
        QCOMPARE(QJsonDocument::fromJson(printed.toUtf8()), QJsonDocument::fromJson(answer.toUtf8()));
    }

    void keepsSettingsOverARestart()
    {
        serve();
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
        write(dataFile("settings.json"), broken);
        serve();
        QCOMPARE(call({"Settings", "keys"}), QString("[]"));
        QCOMPARE(contentOf(dataFile("settings.json.broken")), broken);
    }

    void refusesHarmfulKeys()
    {
        write(dataFile("settings.json"), R"({"number":7,"list":[1,"a"]})");
        serve();
        for (const QString key : {"", "a\"b", "a\\", "a b", "ä", "a\n"})
            QCOMPARE(call({"Settings", "setValue", key, "1"}), QString("false"));
        QCOMPARE(call({"Settings", "setValue", "good", "1"}), QString("true"));
        QCOMPARE(call({"Settings", "value", "list"}), QString("[1,\"a\"]"));
        QCOMPARE(QJsonDocument::fromJson(contentOf(dataFile("settings.json"))).object(),
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
        QVERIFY(contentOf(dataFile("journal.log")).contains("heartbeat: beat 2\n"));
    }

    void journalTellsWhatHappened()
    {
        serve();
        m_fixture.run({"--send", R"({"command":"GREET","name":"Ada\nPlugins: x"})"});
        QCOMPARE(m_fixture.quit(), 0);
        QStringList lines;
        for (const QString& line :
             QString::fromUtf8(contentOf(dataFile("journal.log"))).split('\n', Qt::SkipEmptyParts))
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
    const Rows<QString, QString> row("message", "answer");
    row("greet", R"({"command":"GREET","name":"Ada","request":7})",
        R"({"command":"RESULT","value":"Hello, Ada!","request":7})");
    row("greet nobody known", R"({"command":"GREET"})", R"({"command":"RESULT","value":"Hello, stranger!"})");
    row("placeholders are no code", R"({"command":"GREET","name":"%1 %2"})",
        R"({"command":"RESULT","value":"Hello, %1 %2!"})");
    row("a request that is none", R"({"command":"GREET","name":"Ada","request":{"a\"":1}})",
        R"({"command":"RESULT","value":"Hello, Ada!"})");
    row("a name that is none", R"({"command":"GREET","name":{"a":[]}})",
        R"({"command":"RESULT","value":"Hello, stranger!"})");
    row("remember", R"({"command":"REMEMBER","name":"\u00dcmit \"U\""})", R"({"command":"RESULT","value":true})");
    row("remember nothing", R"({"command":"REMEMBER","name":7})",
        R"({"command":"ERROR","error":"command_failed","text":"\"name\" must be a text"})");
    row("count", R"({"command":"COUNT","text":"A na\u00efve fianc\u00e9e. Really?"})",
        R"({"command":"RESULT","value":{"words":4,"sentences":2,"characters":24}})");
    row("count nothing", R"({"command":"COUNT","text":""})",
        R"({"command":"RESULT","value":{"words":0,"sentences":0,"characters":0}})");
    row("count no text", R"({"command":"COUNT","text":null})",
        R"({"command":"ERROR","error":"command_failed","text":"\"text\" must be a text"})");
    row("no lines of the journal", R"({"command":"JOURNAL","lines":-2147483000})",
        R"({"command":"RESULT","value":[]})");
    row("a command of nobody", R"({"command":"greet","name":"Ada"})", "");
    row("no object", R"(["GREET"])", "");
}

QTEST_GUILESS_MAIN(tst_ExampleSuite)

#include "tst_ExampleSuite.moc"
