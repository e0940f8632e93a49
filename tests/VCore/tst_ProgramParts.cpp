#include "ChildRun.h"
#include "Rows.h"

#include "SuiteReport.h"
#include "common/System.h"
#include "common/cProgram.h"
#include "updates/Progress.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <chrono>
#include <csignal>
#include <new>
#include <thread>

/// What cannot be had is refused, as without the sanitizer, and does not end the test.
extern "C" Q_DECL_EXPORT const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}

static constexpr qint64 Total = 10 * 1000 * 1000;

class tst_ProgramParts : public QObject
{
    Q_OBJECT

private slots:
    void showsABar_data()
    {
        const Rows<qint64, qint64, qint64, int, QString> row("doneAtOneSecond", "done", "total", "columns", "bar");
        const QString full = "Suite  [" + QString(40, '#') + "]  100 %  ";
        const QString none = "Suite  [" + QString(40, '-') + "]    0 %  ";
        const QString half = "Suite  [" + QString(20, '#') + QString(20, '-') + "]   50 %  5.0 MB of 10.0 MB";
        row("half of it", 1000000, 5000000, Total, 100, half + "   4.0 MB/s   0:02 left");
        row("stalled", 5000000, 5000000, Total, 100, half);
        row("all of it", 1000000, Total, Total, 100, full + "10.0 MB of 10.0 MB  9.0 MB/s");
        row("little room", 1000000, 5000000, Total, 70,
            "Suite  [#####-----]   50 %  5.0 MB of 10.0 MB   4.0 MB/s   0:02 left");
        row("40 columns", 1000000, 5000000, Total, 40, "Suite  [" + QString(11, '#') + QString(12, '-') + "]   50 %");
        row("no room for a bar", 1000000, 5000000, Total, 20, "Suite   50 %");
        row("slow", 0, 1000, Total, 100, none + "1.0 kB of 10.0 MB   1.0 kB/s   3 h left");
        row("nobody knows how much", 1000000, 5000000, -1, 100, "Suite  5.0 MB              4.0 MB/s");
        row("no thousand of a unit", 999999, 999999, 999, 100, full + "1.0 MB of 999 B");
        row("a hundred of a unit", 99950, 99950, -1, 100, "Suite  100 kB");
        row("more than was promised", 0, 2 * Total, Total, 100, full + "20.0 MB of 10.0 MB  20.0 MB/s");
        row("promised without bound", 0, 1000000, std::numeric_limits<qint64>::max(), 100,
            "Suite  [" + QString(38, '-') + "]    0 %  1.0 MB of 9223372 TB  1.0 MB/s");
        const QString some = "[" + QString(5, '#') + QString(5, '-') + "]   50 %";
        row("40 columns, long name", 1000000, 5000000, Total, 40, "norvale-suite-be..  " + some);
        row("going back is another transfer", 5000000, 0, Total, 100, none + "0 B of 10.0 MB");
    }
    void showsABar()
    {
        const auto [doneAtOneSecond, done, total, columns] =
            cells<qint64, qint64, qint64, int>("doneAtOneSecond", "done", "total", "columns");
        const QString label =
            QByteArray(QTest::currentDataTag()).contains("long") ? "norvale-suite-beta-12.34.567" : "Suite";
        cProgressLine line;
        line.update(label, doneAtOneSecond, total, 1000);
        line.update(label, done, total, 2000);
        QTEST(line.bar(columns), "bar");
        QVERIFY(line.bar(columns).size() < columns);
    }

    /// In its column as long as the terminal has room for it, else below its plugin; whole in each case.
    void showsReasons_data()
    {
        const Rows<int, QString> row("columns", "lines");
        const QString head = "name  version  category  autoload  state   dependencies  services  reason\n"
                             "----  -------  --------  --------  ------  ------------  --------  %1\n"
                             "A     1.0      -         yes       failed  B             -         %2\n"
                             "B     -        -         no        -       -             -         %3";
        const QString reason = "A-1.0 is not loaded: its library /opt/suite/plugins/A-1.0/A.so does not exist";
        row("wide", 144, head.arg(QString(77, '-'), reason, "not asked for"));
        row("usual", 80,
            head.arg(QString(13, '-'),
                     "below\n    A-1.0 is not loaded: its library /opt/suite/plugins/A-1.0/A.so does "
                     "not\n    exist",
                     "not asked for"));
    }
    void showsReasons()
    {
        QFETCH(int, columns);
        const QByteArray report = R"({"plugins":[{"name":"A","version":"1.0","autoload":true,"state":"ordered",
            "dependencies":["B"],"failed":true,"reason":"A-1.0 is not loaded: its library
 /opt/suite/plugins/A-1.0/A.so does not exist"},{"name":"B","reason":"not asked for","autoload":false}]})";
        QStringList lines;
        for (const cStyledLine& line :
             SuiteReport::tables(QJsonDocument::fromJson(QByteArray(report).replace('\n', "")).object(), columns))
            lines.append(line.text());
        QTEST(lines.mid(lines.indexOf("Plugins") + 1).join('\n'), "lines");
    }

    void forgetsWhatIsLongAgo()
    {
        cProgressLine line;
        for (int tick = 0; tick <= 600; ++tick) // a minute: fast at first, then a tenth as fast
            line.update("Suite", tick < 300 ? tick * 10000 : 3000000 + (tick - 300) * 1000, Total, tick * 100);
        QVERIFY2(line.bar(100).contains("  10.0 kB/s  "), qPrintable(line.bar(100)));
    }

    void tellsEachTenthOnce()
    {
        QStringList lines;
        cProgressLine line;
        for (int done = 0; done <= 1000; ++done) {
            line.update("Suite", done * 1000, 1000000, done);
            lines.append(line.step());
        }
        line.update("small", 1000, 1000, 2000);
        QVERIFY(!line.isWorthShowing());
        lines.removeAll(QString());
        QCOMPARE(lines.size(), 11);
        QCOMPARE(lines.first(), QString("Suite: 0 % of 1.0 MB"));
        QCOMPARE(lines.at(1), QString("Suite: 10 % of 1.0 MB"));
        QCOMPARE(lines.last(), QString("Suite: 100 % of 1.0 MB"));
    }

    void endsWithoutMemory()
    {
        struct Greedy : cCommand
        {
            void describe(cSyntax& syntax) override { syntax.call("greedy", ""); }
            ExitCode run() override
            {
                constexpr auto Most = std::numeric_limits<decltype(QByteArray().size())>::max();
                const QByteArray tooLarge(Most, ' '); // which Qt tells in its own way
                return ExitCode::Ok;
            }
        };
        cProgram program("");
        program.add(std::make_unique<Greedy>());
        QCOMPARE(int(program.run({"program", "greedy"})), int(ExitCode::NoMemory));
    }

    /// The event loop does not come to it: the process ends all the same.
    void endsAtAStopSignalWhateverItDoes()
    {
        if (!Platform::hasUnixFiles())
            QSKIP("signals of this kind are not to be had");
        QCOMPARE(runToEnd(QCoreApplication::applicationFilePath(), {"child"}, {}).code, int(ExitCode::HardStop));
    }
};

static int isStopped(const QStringList&)
{
    const cStopSignals stopSignals;
    std::raise(SIGTERM);
    std::this_thread::sleep_for(std::chrono::seconds(20));
    return 0;
}

TEST_OR_CHILD_MAIN(tst_ProgramParts, isStopped)
#include "tst_ProgramParts.moc"
