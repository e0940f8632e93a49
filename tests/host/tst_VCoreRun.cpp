#include "HostFixture.h"

#include "ExitCode.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtTest/QtTest>

Q_DECLARE_METATYPE(ExitCode)

namespace {

const QString GoodManifest = QStringLiteral(R"(<m><plugin runtime_api_version="13" load_category="ui"/></m>)");
const QString OldManifest = QStringLiteral(R"(<m><plugin runtime_api_version="12"/></m>)");

QString manifestNeeding(const QString& plugin)
{
    return QStringLiteral(R"(<m><plugin runtime_api_version="13"><dependencies><dependency>%1</dependency>)"
                          R"(</dependencies></plugin></m>)")
        .arg(plugin);
}

QJsonObject readJson(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

} // namespace

class tst_VCoreRun : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture.useSuite(QStringLiteral(VCORE_TEST_SUITE)); }
    void cleanup();

    void endsWithTheCodeOf_data();
    void endsWithTheCodeOf();
    void startsAndStopsInOrder();
    void tracesAFailedStart();
    void listsWhatIsInstalled();
    void listsFaultyPlugins();
    void listsTheRunningHost();
    void stopsAfterASignalDuringTheStart();
    void secondSignalEndsAHangingStop();
    void refusesASecondHost();
    void takesOverFromAKilledHost();

private:
    HostFixture m_fixture;
};

void tst_VCoreRun::cleanup()
{
    qunsetenv("VCORE_TEST_HANG");
    qunsetenv("VCORE_TEST_GO_ON");
}

void tst_VCoreRun::endsWithTheCodeOf_data()
{
    QTest::addColumn<QString>("suite");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<ExitCode>("code");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const QString& suite, const QStringList& arguments, ExitCode code,
                        const QString& said) { QTest::newRow(name) << suite << arguments << code << said; };
    row("help", "", {"--help"}, ExitCode::Ok, "Exit codes:");
    row("version", "", {"--version"}, ExitCode::Ok, "VCore ");
    row("unknown option", "", {"--nonsense"}, ExitCode::Usage, "nonsense");
    row("stray word", "", {"nonsense"}, ExitCode::Usage, "\"nonsense\" is not understood");
    row("two commands", "", {"--list", "--send", "{}"}, ExitCode::Usage, "exclude each other");
    row("option of another command", "", {"--list", "--trace", "t"}, ExitCode::Usage,
        "--trace does not go with --list");
    row("call without a method", "", {"--call", "Text"}, ExitCode::Usage, "at least 2");
    row("time limit that is none", "", {"--timeout", "soon", "--send", "{}"}, ExitCode::Usage, "--timeout");
    row("send to nobody", "", {"--send", "{}"}, ExitCode::NoHost, "no host");
    row("call to nobody", "", {"--call", "Text", "third"}, ExitCode::NoHost, "no host");
    row("log in no folder", "", {"--log", "/no/such/folder/x"}, ExitCode::FileFailed, "/no/such/folder/x");
    row("no core", "noCore", {}, ExitCode::NoCore, "\"Core\" is not installed");
    row("other interface version", "oldInterface", {}, ExitCode::StartFailed, "12");
    row("circle", "circle", {}, ExitCode::Fatal, "Cannot start under this circumstances.");
}

void tst_VCoreRun::endsWithTheCodeOf()
{
    QFETCH(QString, suite);
    QFETCH(QStringList, arguments);
    QFETCH(ExitCode, code);
    QFETCH(QString, said);
    if (suite == "noCore")
        m_fixture.useSuite(m_fixture.makeSuite("Other", {{"A", GoodManifest}}));
    else if (suite == "oldInterface")
        m_fixture.useSuite(m_fixture.makeSuite("Core", {{"A", OldManifest}}));
    else if (suite == "circle")
        m_fixture.useSuite(m_fixture.makeSuite("Core", {{"A", manifestNeeding("B")}, {"B", manifestNeeding("A")}}));
    const HostFixture::Ended ended = m_fixture.run(arguments);
    QCOMPARE(ended.code, int(code));
    const QString text = code == ExitCode::Ok ? ended.output : ended.reasons;
    QVERIFY2(text.contains(said), qPrintable(text));
}

void tst_VCoreRun::startsAndStopsInOrder()
{
#ifndef Q_OS_UNIX
    QSKIP("SIGTERM is needed");
#endif
    const QString trace = m_fixture.path("trace.json");
    const QString log = m_fixture.path("log.txt");
    const auto host = m_fixture.serve({"--categories", "ui,none", "--trace", trace, "--log", log});
    QVERIFY(host);
    QCOMPARE(HostFixture::stop(*host), 0);
    QCOMPARE(m_fixture.journal(), QStringList({"start Base", "start Later", "stop Later", "stop Base"}));
    QVERIFY(QFile::exists(log));

    QStringList names;
    double stopBegin = 0;
    double stopEnd = 0;
    for (const QJsonValue& value : readJson(trace).value("traceEvents").toArray()) {
        const QJsonObject event = value.toObject();
        QCOMPARE(event.value("ph").toString(), QString("X"));
        QVERIFY(event.value("args").toObject().value("ok").toBool());
        names.append(event.value("name").toString());
        const double begin = event.value("ts").toDouble();
        const double end = begin + event.value("dur").toDouble();
        if (names.last() == "stop the suite") {
            stopBegin = begin;
            stopEnd = end;
        } else if (names.last().startsWith("stop ")) {
            QVERIFY2(begin >= stopBegin && end <= stopEnd, qPrintable(names.last()));
        }
    }
    for (const char* name : {"read manifest Base", "read manifest OnDemand", "load library Base", "start Later"})
        QCOMPARE(names.count(name), 1);
    QCOMPARE(names.mid(names.indexOf("stop the suite")), QStringList({"stop the suite", "stop Later", "stop Base"}));
}

void tst_VCoreRun::tracesAFailedStart()
{
    const QString trace = m_fixture.path("failed.json");
    m_fixture.useSuite(m_fixture.makeSuite("Core", {{"A", manifestNeeding("Absent")}}));
    QCOMPARE(m_fixture.run({"--trace", trace}).code, int(ExitCode::Fatal));
    const QJsonArray events = readJson(trace).value("traceEvents").toArray();
    QCOMPARE(events.size(), 3);
    QCOMPARE(events[1].toObject().value("name").toString(), QString("start the suite"));
    QVERIFY(events[1].toObject().value("args").toObject().value("unfinished").toBool());
    QCOMPARE(events[2].toObject().value("name").toString(), QString("read manifest A"));
}

void tst_VCoreRun::listsWhatIsInstalled()
{
    const HostFixture::Ended json = m_fixture.run({"--list", "--json"});
    QCOMPARE(json.code, 0);
    const QJsonObject report = QJsonDocument::fromJson(json.output.toUtf8()).object();
    QVERIFY(report.contains("running") && !report.value("running").toBool());
    QCOMPARE(report.value("features").toArray().at(0).toObject().value("name").toString(), QString("Core"));
    QJsonObject later;
    for (const QJsonValue& plugin : report.value("plugins").toArray())
        if (plugin.toObject().value("name") == "Later")
            later = plugin.toObject();
    QCOMPARE(later.value("version").toString(), QString("2.01.000"));
    QCOMPARE(later.value("category").toString(), QString("ui"));
    QCOMPARE(later.value("state").toString(), QString("ordered"));
    QCOMPARE(later.value("dependencies").toArray(), QJsonArray({"Base"}));
    QCOMPARE(later.value("services").toArray(), QJsonArray({"Later"}));

    const QString table = m_fixture.run({"--list"}).output;
    QVERIFY2(table.contains(QRegularExpression("\nLater +2\\.01\\.000 +ui +ordered +Base +Later\n")),
             qPrintable(table));
    QVERIFY2(table.contains(QRegularExpression("\nBase +1\\.00\\.000 +- +ordered +- +Text\n")), qPrintable(table));
}

void tst_VCoreRun::listsFaultyPlugins()
{
    m_fixture.useSuite(m_fixture.makeSuite("Core", {{"Broken", "<m><plugin"}, {"Fine", GoodManifest}}));
    const HostFixture::Ended ended = m_fixture.run({"--list"});
    QCOMPARE(ended.code, 0);
    QVERIFY2(ended.output.contains("Broken") && ended.output.contains("Fine"), qPrintable(ended.output));
    QVERIFY2(ended.reasons.contains("Broken"), qPrintable(ended.reasons));
}

void tst_VCoreRun::listsTheRunningHost()
{
    const auto host = m_fixture.serve();
    QVERIFY(host);
    const QString table = m_fixture.run({"--list"}).output;
    QVERIFY2(table.contains(QRegularExpression("\nBase .* started ")), qPrintable(table));
    QVERIFY2(table.contains(QRegularExpression("\nLater .* ordered ")), qPrintable(table));
    QVERIFY2(table.contains("Text, VCore"), qPrintable(table));
    QCOMPARE(m_fixture.run({"--send", R"({"command":"QUIT"})"}).code, 0);
    QCOMPARE(HostFixture::exitCodeOf(*host), 0);
}

// A plugin that serves events while it starts also serves the signal, when there is no loop yet that it could end.
void tst_VCoreRun::stopsAfterASignalDuringTheStart()
{
#ifndef Q_OS_UNIX
    QSKIP("SIGTERM is needed");
#endif
    const QString goOn = m_fixture.path("goOn");
    qputenv("VCORE_TEST_GO_ON", QFile::encodeName(goOn));
    QFile::remove(m_fixture.path("journal"));
    QProcess host;
    host.start(VCORE_PROGRAM, QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(m_fixture.journal().contains("start Base"), 10000);
    host.terminate();
    QTest::qWait(100); // for the signal to be served before the start goes on; if it is not, the test proves less
    QVERIFY(QFile(goOn).open(QIODevice::WriteOnly));
    QCOMPARE(HostFixture::exitCodeOf(host), 0);
    QCOMPARE(m_fixture.journal(), QStringList({"start Base", "stop Base"}));
}

void tst_VCoreRun::secondSignalEndsAHangingStop()
{
#ifndef Q_OS_UNIX
    QSKIP("SIGTERM is needed");
#endif
    qputenv("VCORE_TEST_HANG", "1");
    const auto host = m_fixture.serve();
    QVERIFY(host);
    host->terminate();
    QTRY_VERIFY_WITH_TIMEOUT(m_fixture.journal().contains("stop Base"), 10000);
    QCOMPARE(HostFixture::stop(*host), int(ExitCode::HardStop));
}

void tst_VCoreRun::refusesASecondHost()
{
    const auto host = m_fixture.serve();
    QVERIFY(host);
    const HostFixture::Ended second = m_fixture.run({});
    QCOMPARE(second.code, int(ExitCode::HostRunning));
    QVERIFY2(second.reasons.contains(QString::number(host->processId())), qPrintable(second.reasons));
    QCOMPARE(m_fixture.run({"--call", "VCore", "quit"}).code, 0);
    QCOMPARE(HostFixture::exitCodeOf(*host), 0);
}

void tst_VCoreRun::takesOverFromAKilledHost()
{
    const auto killed = m_fixture.serve();
    QVERIFY(killed);
    killed->kill();
    QCOMPARE(HostFixture::exitCodeOf(*killed), -1);
    QCOMPARE(m_fixture.run({"--send", "{}"}).code, int(ExitCode::NoHost));
    const auto host = m_fixture.serve();
    QVERIFY(host);
    QCOMPARE(m_fixture.run({"--call", "VCore", "quit"}).code, 0);
    QCOMPARE(HostFixture::exitCodeOf(*host), 0);
}

QTEST_GUILESS_MAIN(tst_VCoreRun)
#include "tst_VCoreRun.moc"
