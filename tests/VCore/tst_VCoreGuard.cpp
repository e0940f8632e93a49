#include "HostFixture.h"

#include "guard/cCulpritSearch.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QSettings>

#include <cmath>

namespace {

using Names = QStringList;

/// Plugins that depend at random on earlier ones, and what a start makes of some of them.
class Graph
{
public:
    Graph(int count, quint32 seed) : m_random(seed)
    {
        for (int i = 0; i < count; ++i) {
            Names needs;
            while (i > 0 && m_random.bounded(3) != 0)
                needs.append(QString::number(m_random.bounded(i)));
            plugins.append({QString::number(i), needs});
        }
    }

    Names some(int count)
    {
        Names names;
        while (names.size() < count) {
            const QString name = plugins.at(m_random.bounded(plugins.size())).name;
            if (!names.contains(name))
                names.append(name);
        }
        return names;
    }

    /// Whether @p name needs @p other.
    bool needs(const QString& name, const QString& other) const
    {
        const Names needed = plugins.at(name.toInt()).dependencies;
        return needed.contains(other) ||
               std::any_of(needed.begin(), needed.end(), [&](const QString& next) { return needs(next, other); });
    }

    /// Whether with each that takes part all that it needs does.
    bool isWhole(const Names& leftOut) const
    {
        for (const cCulpritSearch::Candidate& plugin : plugins) {
            const auto isOut = [&](const QString& name) { return leftOut.contains(name); };
            if (!isOut(plugin.name) && std::any_of(plugin.dependencies.begin(), plugin.dependencies.end(), isOut))
                return false;
        }
        return true;
    }

    QList<cCulpritSearch::Candidate> plugins;

private:
    QRandomGenerator m_random;
};

bool haveAny(const Names& names, const Names& others)
{
    return std::any_of(names.begin(), names.end(), [&](const QString& name) { return others.contains(name); });
}

} // namespace

class tst_VCoreGuard : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

    /// A suite of P1 to P8, where P4 needs P2, P6 needs P4, with @p params and more @p needs for some of them.
    void useFaultySuite(const Variables& params, Variables needs = {})
    {
        QSettings(QSettings::UserScope, "Varkel", "VCore").remove("Plugins");
        needs.insert("P4", "needs:P2");
        needs.insert("P6", "needs:P4");
        Variables plugins;
        for (const char* name : {"P1", "P2", "P3", "P4", "P5", "P6", "P7", "P8"}) {
            const QString given = params.value(name);
            plugins[name] = QString("auto enters:createPlugin %1 %2 {%3}")
                                .arg(needs.value(name), given.contains("call") ? "gives:Break" : "", given);
        }
        const QString root = m_fixture.makeSuite("Core", plugins, FAULTY_PLUGIN);
        QByteArray features = readFile(root + "/plugins/features.xml"); // P4 alone is the core
        const QByteArray core = "<plugin name='P4' version='1.00.000'/>";
        features.replace(core, "").replace("name='Core'", "name='More'");
        features.replace("</repository>", "<feature name='Core' version='1.0.0' active='true'><plugins>" + core +
                                              "</plugins></feature></repository>");
        writeFile(root + "/plugins/features.xml", features);
        m_fixture.useSuite(root);
    }

    QJsonObject list() { return QJsonDocument::fromJson(m_fixture.run("--list --json").output.toUtf8()).object(); }

    QJsonObject listed(const QString& name)
    {
        for (const QJsonValue& plugin : list()["plugins"].toArray()) {
            if (plugin["name"] == name)
                return plugin.toObject();
        }
        return {};
    }

private slots:
    void findsCulprits_data()
    {
        const Rows<int> row("culprits");
        row("one", 1);
        row("two, together", 2);
        row("three, together", 3);
    }
    void findsCulprits()
    {
        const auto [count] = cells<int>("culprits");
        for (int size = count; size <= 60; ++size) {
            for (quint32 seed = 0; seed < 20; ++seed) {
                Graph graph(size, seed);
                const Names culprits = graph.some(count);
                int starts = 0;
                bool isWhole = true;
                cCulpritSearch search(graph.plugins, [&](const Names& leftOut) {
                    ++starts;
                    isWhole = isWhole && graph.isWhole(leftOut);
                    return haveAny(culprits, leftOut) ? cCulpritSearch::Good : cCulpritSearch::Bad;
                });
                QCOMPARE(search.run(), cCulpritSearch::Found);
                QVERIFY(isWhole);
                Names wanted; // one that another needs cannot be told from it
                for (const QString& name : culprits) {
                    if (!std::any_of(culprits.begin(), culprits.end(),
                                     [&](const QString& other) { return graph.needs(other, name); }))
                        wanted.append(name);
                }
                std::sort(wanted.begin(), wanted.end(),
                          [](const QString& a, const QString& b) { return a.toInt() < b.toInt(); });
                QCOMPARE(search.culprits(), wanted);
                const double most = count == 1 ? 2 * std::log2(size) + 2 : 2 + count * (std::ceil(std::log2(size)) + 2);
                QVERIFY2(starts <= most, qPrintable(QString("%1 starts for %2 plugins").arg(starts).arg(size)));
            }
        }
    }

    void namesNobodyWithoutReason_data()
    {
        using Search = cCulpritSearch;
        const Rows<int, int, int> row("verdicts", "result", "starts");
        row("good", 0, Search::NeverBreaks, 1);
        row("bad", 1, Search::AlwaysBreaks, 2);
        row("cannot tell", 2, Search::CannotBeTold, 1);
        row("bad once", 3, Search::NotFound, 12);
        row("ended", 4, Search::Ended, 3);
    }
    void namesNobodyWithoutReason()
    {
        const auto [kind, result, most] = cells<int, int, int>("verdicts", "result", "starts");
        int starts = 0;
        cCulpritSearch search(Graph(40, 1).plugins, [&](const Names&) -> std::optional<cCulpritSearch::Verdict> {
            ++starts;
            if (kind == 4 && starts == 3)
                return std::nullopt;
            if (kind == 0 || kind == 2)
                return kind == 0 ? cCulpritSearch::Good : cCulpritSearch::CannotTell;
            return kind == 1 || starts == 1 ? cCulpritSearch::Bad : cCulpritSearch::Good;
        });
        QCOMPARE(int(search.run()), result);
        QVERIFY2(starts <= most, qPrintable(QString::number(starts)));
    }

    void leavesPluginsOut_data()
    {
        const Rows<QString, Names> row("words", "started");
        row("one, and what needs it", "--without P2", {"P1", "P3", "P5", "P7", "P8"});
        row("several", "--without P2,P1 --without P3 --start-only P5 P7", {"P8"});
        row("all but the core", "--safe", {"P2", "P4"});
    }
    void leavesPluginsOut()
    {
        const auto [words, started] = cells<QString, Names>("words", "started");
        useFaultySuite({});
        QFile::remove(m_fixture.path("journal"));
        const Ended ended = m_fixture.run("--start-only " + words);
        QCOMPARE(ended.code, 0);
        QCOMPARE(ended.output, QString("The suite has been started and stopped.\n"));
        Names names = m_fixture.journal();
        names.sort();
        QCOMPARE(names, started);
    }

    void disablesAndEnables()
    {
        useFaultySuite({});
        const Ended unknown = m_fixture.run("--disable P2 P9");
        QCOMPARE(unknown.code, int(ExitCode::UnknownPlugin));
        QVERIFY2(unknown.reasons.contains("\"P9\" is installed; VCore --list"), qPrintable(unknown.reasons));
        QCOMPARE(listed("P2")["left_out"].toString(), QString());
        QCOMPARE(m_fixture.run("--disable P2,P5 P3").code, 0);
        QCOMPARE(m_fixture.run("--enable P3").code, 0);
        QCOMPARE(m_fixture.run("--enable P3").output, QString("The plugin \"P3\" is not disabled.\n"));
        for (const bool isRunning : {false, true}) {
            QVERIFY(!isRunning || m_fixture.serve());
            QCOMPARE(listed("P5")["left_out"].toString(), QString("left out"));
            QVERIFY(listed("P6")["left_out"].toString().contains("P6 -> P4 -> P2"));
            QCOMPARE(listed("P1")["state"].toString(), QString(isRunning ? "started" : "ordered"));
            const QString table = m_fixture.run("--list").output;
            QVERIFY2(table.contains("VCore --enable NAME undoes it)\nP2, P5\n"), qPrintable(table));
        }
        QCOMPARE(m_fixture.run("--enable P2 P5").code, 0);
        QVERIFY(listed("P2")["left_out"].toString() != QString()); // a running host is not changed
        QCOMPARE(m_fixture.quit(), 0);
        QCOMPARE(listed("P2")["left_out"].toString(), QString());
    }

    void tellsWhere_data()
    {
        const Rows<QString, QString, int, QString> row("params", "needs", "code", "report");
        const int none = int(ExitCode::NoReport);
        row("a stop in order", "", "", none, "");
        row("no order", "", "needs:P4", none, "");
        row("abort", "\"start\":\"abort\"", "", 0,
            "File: .*/crash-.*\\.txt\nCrash report\n\nPlugin: P4-1\\.00\\.000\nStep: start\nCause: SIGABRT\n"
            "Time: .*\nHost: VCore .*\nStack\n.*abort.*Faulty.*\nLog\n.*started P3-1\\.00\\.000");
    }
    /// The suite that the report is read for cannot start.
    void tellsWhere()
    {
        const auto [params, needs, code, report] =
            cells<QString, QString, int, QString>("params", "needs", "code", "report");
        useFaultySuite({{"P4", params}}, {{"P2", needs}});
        m_fixture.run("--start-only");
        const Ended ended = m_fixture.run("--report");
        QCOMPARE(ended.code, code);
        const QRegularExpression pattern(report, QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(pattern.match(ended.output).hasMatch(), qPrintable(ended.output + ended.reasons));
        QVERIFY(code == 0 || ended.reasons.contains("there is no crash report in "));
    }

    /// In the log and the trace, whatever is flushed and written at the end otherwise, and on a terminal that asks for
    /// it.
    void aCrashNamesItsPlugin_data()
    {
        const Rows<QString, QString, QString> row("params", "line", "span");
        row("in the start", "\"start\":\"abort\"", "starting P4-1.00.000", "start P4");
        row("in the stop", "\"stop\":\"abort\"", "stopping P4-1.00.000", "stop P4");
        row("at once", "\"start\":\"exit\"", "starting P4-1.00.000", "start P4");
    }
    void aCrashNamesItsPlugin()
    {
        const auto [params, line, span] = cells<QString, QString, QString>("params", "line", "span");
        useFaultySuite({{"P4", params}});
        const QString trace = m_fixture.path("crash.json"), log = m_fixture.path("crash.log");
        QFile::remove(log);
        const Ended quiet = m_fixture.run({"--start-only", "--no-guard", "--trace", trace, "--log", log});
        QVERIFY2(!quiet.reasons.contains(line), qPrintable(quiet.reasons));
        QVERIFY2(readFile(log).trimmed().endsWith(line.toUtf8()), readFile(log));
        const QJsonArray spans = HostFixture::spansOf(trace);
        QVERIFY2(!spans.isEmpty(), readFile(trace));
        QCOMPARE(spans.last()["name"].toString(), span);
        QStringList unfinished;
        for (const QJsonValue& each : spans) {
            if (each["args"]["unfinished"].toBool())
                unfinished.append(each["name"].toString());
        }
        QCOMPARE(unfinished, QStringList({span.startsWith("start") ? "start the suite" : "stop the suite", span}));
        const Ended verbose = m_fixture.run({"--start-only", "--no-guard", "--verbose"});
        QVERIFY2(verbose.reasons.contains("VCore: PluginMgr: " + line + '\n'), qPrintable(verbose.reasons));
    }

    void disablesWhatFailsTwiceInARow()
    {
        useFaultySuite({{"P4", "\"start\":\"abort\""}});
        QVERIFY(m_fixture.run("--start-only --no-guard").code != 0);
        QVERIFY(!list().contains("last_failure"));
        QVERIFY(m_fixture.run("--start-only").code != 0);
        const QJsonValue failure = list()["last_failure"];
        QCOMPARE(failure["plugin"].toString(), QString("P4"));
        QCOMPARE(failure["step"].toString(), QString("start"));
        QCOMPARE(failure["in_a_row"].toInt(), 1);
        QVERIFY(m_fixture.run("--list").output.contains("\nLast failure\nP4-1.00.000 crashed (SIGABRT)"));

        const Ended second = m_fixture.run("--start-only");
        QVERIFY(second.code != 0);
        QVERIFY2(second.reasons.contains("; `VCore --run --without P4` starts without it"), qPrintable(second.reasons));
        const Ended third = m_fixture.run("--start-only");
        QVERIFY2(third.reasons.contains(", 2 times in a row; it is left out from now on, until `VCore --enable P4`"),
                 qPrintable(third.reasons));
        QCOMPARE(third.code, 0);
        QVERIFY(listed("P6")["left_out"].toString().contains("P6 -> P4"));
        const Ended fourth = m_fixture.run("--start-only");
        QCOMPARE(fourth.code, 0);
        QVERIFY2(!fourth.reasons.contains("in a row"), qPrintable(fourth.reasons));
        QCOMPARE(m_fixture.run("--enable P4").code, 0);
        QVERIFY(m_fixture.run("--start-only").code != 0);
    }

    void bisects_data()
    {
        const Rows<Variables, QString, Names> row("params", "result", "plugins");
        row("nothing", {}, "does not break", {});
        row("abort", {{"P4", "\"start\":\"abort\""}}, "found", {"P4"});
        row("exit", {{"P1", "\"start\":\"exit 0\""}}, "found", {"P1"});
        row("in the stop", {{"P7", "\"stop\":\"abort\""}}, "found", {"P7"});
        row("hang", {{"P8", "\"start\":\"hang\""}}, "found", {"P8"});
        row("two", {{"P6", "\"start\":\"abort\",\"beside\":\"P3\""}}, "found", {"P3", "P6"});
        row("faulty manifest", {{"P5", "no JSON"}}, "found", {"P5"});
    }
    void bisects()
    {
        const auto [params, result, plugins] = cells<Variables, QString, Names>("params", "result", "plugins");
        useFaultySuite(params);
        const Ended ended = m_fixture.run("--bisect --json --timeout " + QString(params.contains("P8") ? "5" : "60"));
        const QJsonObject answer = QJsonDocument::fromJson(ended.output.toUtf8()).object();
        QCOMPARE(answer["result"].toString(), result);
        QCOMPARE(answer["plugins"].toArray(), QJsonArray::fromStringList(plugins));
        QVERIFY2(plugins.size() != 1 || answer["starts"].toInt() <= 8, qPrintable(ended.reasons));
        QCOMPARE(ended.code, int(plugins.isEmpty() ? ExitCode::NothingBreaks : ExitCode::CulpritFound));
    }

    void aStoppedSearchLeavesNobodyBehind()
    {
        useFaultySuite({{"P8", "\"start\":\"hang\""}});
        QFile::remove(m_fixture.path("journal"));
        QProcess search;
        Platform::startInterruptible(search, VCORE_PROGRAM, {"--bisect"});
        QTRY_VERIFY_WITH_TIMEOUT(m_fixture.journal().contains("hangs"), 30000);
        Platform::interrupt(search);
        QCOMPARE(exitCodeOf(search), int(ExitCode::CulpritNotFound));
        const QJsonObject without = list(); // which a host that hangs in its start would not answer
        QCOMPARE(without["running"], QJsonValue(false));
    }

    void bisectsByACommand()
    {
        useFaultySuite({{"P3", "\"start\":\"spoil\""}, {"P6", "\"call\":\"none\""}});
        const Names bisect{"--bisect", "--", QCoreApplication::applicationFilePath(), "child"};
        const Ended ended = m_fixture.run(bisect);
        QCOMPARE(ended.code, int(ExitCode::CulpritFound));
        QVERIFY2(ended.output.contains("P3-1.00.000 and P6-1.00.000 break the suite, but only together."),
                 qPrintable(ended.output + ended.reasons));
        QVERIFY2(ended.reasons.contains("start 2: 0 of 8 plugins ... the command cannot tell"),
                 qPrintable(ended.reasons));
        QVERIFY(m_fixture.serve());
        QCOMPARE(m_fixture.run(bisect).code, int(ExitCode::HostRunning));
        QCOMPARE(m_fixture.quit(), 0);
    }
};

/// What the bisection above asks: 1 when the running suite is spoiled, 125 when nothing tells.
static int judge(const QStringList&)
{
    const Ended ended = runToEnd(VCORE_PROGRAM, {"--call", "Break", "isSpoiled"}, {});
    if (ended.code != 0)
        return 125;
    return ended.output == "true\n" ? 1 : 0;
}

int main(int argc, char** argv)
{
    return runTestOrChild<tst_VCoreGuard>(argc, argv, judge);
}

#include "tst_VCoreGuard.moc"
