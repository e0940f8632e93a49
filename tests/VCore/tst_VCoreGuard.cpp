#include "HostFixture.h"

#include "guard/cCulpritSearch.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QSettings>

#include <cmath>

namespace {

using Names = QStringList;

/// Plugins that depend at random on earlier ones.
class Graph
{
public:
    Graph(int count, quint32 seed) : m_random(seed)
    {
        for (int i = 0; i < count; ++i) {
            plugins.append({QString::number(i), {}});
            QSet<QString>& needed = m_needed[plugins.last().name];
            while (i > 0 && m_random.bounded(3) != 0) {
                const QString other = QString::number(m_random.bounded(i));
                plugins.last().dependencies.append(other);
                needed.unite(m_needed.value(other)).insert(other);
            }
        }
    }

    Names some(int count)
    {
        QMap<int, QString> names;
        while (names.size() < count) {
            const int place = m_random.bounded(plugins.size());
            names[place] = plugins.at(place).name;
        }
        return names.values();
    }

    /// Whether @p name needs any of @p others.
    bool needsAny(const QString& name, const QSet<QString>& others) const { return m_needed[name].intersects(others); }

    QList<cCulpritSearch::Candidate> plugins;

private:
    QRandomGenerator m_random;
    QHash<QString, QSet<QString>> m_needed; // of each plugin
};

} // namespace

class tst_VCoreGuard : public QObject
{
    Q_OBJECT

    HostFixture m_fixture;

    /// A suite of P1 to P8, where P4 needs P2, P6 needs P4, with @p params for some of them.
    void useFaultySuite(const Variables& params)
    {
        QSettings(QSettings::UserScope, "Varkel", "VCore").remove("Plugins");
        const Variables needs{{"P4", "needs:P2"}, {"P6", "needs:P4"}};
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
                Names halves; // plugins that have been started without what they need
                cCulpritSearch search(graph.plugins, [&](const Names& leftOut) {
                    ++starts;
                    const QSet<QString> out(leftOut.begin(), leftOut.end());
                    const auto isOut = [&](const QString& name) { return out.contains(name); };
                    for (const cCulpritSearch::Candidate& plugin : graph.plugins) {
                        if (!isOut(plugin.name) && graph.needsAny(plugin.name, out))
                            halves.append(plugin.name);
                    }
                    const bool isGood = std::any_of(culprits.begin(), culprits.end(), isOut);
                    return isGood ? cCulpritSearch::Good : cCulpritSearch::Bad;
                });
                QCOMPARE(search.run(), cCulpritSearch::Found);
                QCOMPARE(halves, Names());
                Names wanted = culprits; // one that another needs cannot be told from it
                for (const QString& name : culprits) {
                    const auto needsIt = [&](const QString& other) { return graph.needsAny(other, {name}); };
                    if (std::any_of(culprits.begin(), culprits.end(), needsIt))
                        wanted.removeOne(name);
                }
                QCOMPARE(search.culprits(), wanted);
                const double most = count == 1 ? 2 * std::log2(size) + 2 : 2 + count * (std::ceil(std::log2(size)) + 2);
                QVERIFY2(starts <= most, qPrintable(QString("%1 starts for %2 plugins").arg(starts).arg(size)));
            }
        }
    }

    void namesNobodyWithoutReason_data()
    {
        // Of each start: g(ood), b(ad), ?, or . for the end; the last one is that of all further ones.
        using Search = cCulpritSearch;
        const Rows<QString, int, int> row("verdicts", "result", "starts");
        row("good", "g", Search::NeverBreaks, 1);
        row("bad", "b", Search::AlwaysBreaks, 2);
        row("cannot tell", "?", Search::CannotBeTold, 1);
        row("bad once", "bg", Search::NotFound, 12);
        row("ended", "bg.", Search::Ended, 3);
    }
    void namesNobodyWithoutReason()
    {
        const auto [verdicts, result, most] = cells<QString, int, int>("verdicts", "result", "starts");
        int starts = 0;
        const auto trial = [&, verdicts = verdicts](const Names&) -> std::optional<cCulpritSearch::Verdict> {
            const QChar verdict = verdicts.at(qMin(starts++, int(verdicts.size()) - 1));
            if (verdict == '.')
                return std::nullopt;
            return verdict == 'g'   ? cCulpritSearch::Good
                   : verdict == 'b' ? cCulpritSearch::Bad
                                    : cCulpritSearch::CannotTell;
        };
        cCulpritSearch search(Graph(40, 1).plugins, trial);
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
        m_fixture.expect("--start-only " + words, ExitCode::Ok, {"The suite has been started and stopped.\n"});
        Names names = m_fixture.journal();
        names.sort();
        QCOMPARE(names, started);
    }

    void disablesAndEnables()
    {
        useFaultySuite({});
        m_fixture.expect("--disable P2 P9", ExitCode::UnknownPlugin, {"\"P9\" is installed; VCore --list"});
        QCOMPARE(listed("P2")["left_out"].toString(), QString());
        m_fixture.expect("--disable P2,P5 P3", ExitCode::Ok);
        m_fixture.expect("--enable P3", ExitCode::Ok);
        m_fixture.expect("--enable P3", ExitCode::Ok, {"The plugin \"P3\" is not disabled.\n"});
        for (const bool isRunning : {false, true}) {
            QVERIFY(!isRunning || m_fixture.serve());
            QCOMPARE(listed("P5")["left_out"].toString(), QString("left out"));
            QVERIFY(listed("P6")["left_out"].toString().contains("P6 -> P4 -> P2"));
            QCOMPARE(listed("P1")["state"].toString(), QString(isRunning ? "started" : "ordered"));
            m_fixture.expect("--list", ExitCode::Ok, {"VCore --enable NAME undoes it)\nP2, P5\n"});
        }
        m_fixture.expect("--enable P2 P5", ExitCode::Ok);
        QVERIFY(listed("P2")["left_out"].toString() != QString()); // a running host is not changed
        QCOMPARE(m_fixture.quit(), 0);
        QCOMPARE(listed("P2")["left_out"].toString(), QString());
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
        m_fixture.expect("--report", ExitCode::NoReport, {"there is no crash report in "});
        QVERIFY(m_fixture.run("--start-only").code != 0);
        const QJsonValue failure = list()["last_failure"];
        QCOMPARE(failure["plugin"].toString(), QString("P4"));
        QCOMPARE(failure["step"].toString(), QString("start"));
        QCOMPARE(failure["in_a_row"].toInt(), 1);
        m_fixture.expect("--list", ExitCode::Ok, {"\nLast failure\nP4-1.00.000 crashed (SIGABRT)"});
        const QString report = m_fixture.run("--report").output;
        const QRegularExpression told(
            "^File: .*/crash-.*\\.txt\nCrash report\n\nPlugin: P4-1\\.00\\.000\nStep: start\n"
            "Cause: SIGABRT\nTime: .*\nHost: VCore .*\nStack\n.*abort.*Faulty.*\nLog\n.*started "
            "P3-1\\.00\\.000",
            QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(report.contains(told), qPrintable(report));

        const Ended second = m_fixture.run("--start-only");
        QVERIFY(second.code != 0);
        QVERIFY2(second.reasons.contains("; `VCore --run --without P4` starts without it"), qPrintable(second.reasons));
        m_fixture.expect("--start-only", ExitCode::Ok,
                         {", 2 times in a row; it is left out from now on, until `VCore --enable P4`"});
        QVERIFY(listed("P6")["left_out"].toString().contains("P6 -> P4"));
        const Ended fourth = m_fixture.run("--start-only");
        QCOMPARE(fourth.code, 0);
        QVERIFY2(!fourth.reasons.contains("in a row"), qPrintable(fourth.reasons));
        m_fixture.expect("--enable P4", ExitCode::Ok);
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
        m_fixture.expect(bisect, ExitCode::CulpritFound,
                         {"P3-1.00.000 and P6-1.00.000 break the suite, but only together.",
                          "start 2: 0 of 8 plugins ... the command cannot tell"});
        QVERIFY(m_fixture.serve());
        m_fixture.expect(bisect, ExitCode::HostRunning);
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

TEST_OR_CHILD_MAIN(tst_VCoreGuard, judge)
#include "tst_VCoreGuard.moc"
