#include "Goals.h"
#include "LogScenario.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <cstdio>

namespace {

constexpr int linesPerRun = 40000;
constexpr int repetitions = 9;

/// The file of the benchmark that runs; each one begins with an empty file.
QString filePath()
{
    static const QTemporaryDir folder;
    return folder.filePath(QStringLiteral("bench.log"));
}

template <const LogPeer& (*peer)()>
void open(const benchmark::State&)
{
    QFile::remove(filePath());
    peer().open(filePath());
}

template <const LogPeer& (*peer)()>
void close(const benchmark::State&)
{
    peer().close();
}

template <const LogPeer& (*peer)()>
void oneItem(benchmark::State& state)
{
    const LogPeer& lines = peer();
    for (auto unused : state)
        lines.writeOneItem();
}

template <const LogPeer& (*peer)()>
void sevenItems(benchmark::State& state)
{
    const LogPeer& lines = peer();
    int number = 0;
    for (auto unused : state)
        lines.writeSevenItems(++number);
}

template <const LogPeer& (*peer)()>
void registerPeer()
{
    const std::string name = peer().name;
    for (const int threads : {1, 4}) {
        const std::string suffix = threads == 1 ? "_1_thread" : "_4_threads";
        for (auto* bench : {benchmark::RegisterBenchmark((name + "_1_item" + suffix).c_str(), oneItem<peer>),
                            benchmark::RegisterBenchmark((name + "_7_items" + suffix).c_str(), sevenItems<peer>)}) {
            bench->Setup(open<peer>)->Teardown(close<peer>);
            bench->Threads(threads)->UseRealTime()->Iterations(linesPerRun / threads)->Repetitions(repetitions);
        }
    }
}

/// The lines that a peer writes, each from its @p from on.
template <const LogPeer& (*peer)()>
QStringList sampleLines(const QString& from)
{
    QFile::remove(filePath());
    peer().open(filePath());
    peer().writeOneItem();
    peer().writeSevenItems(42);
    peer().close();
    QFile file(filePath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (QString& line : lines)
        line.remove(0, qMax(0, line.indexOf(from)));
    return lines;
}

/// The category's lines must be ours but for the time; the thread id of spdlog has another form.
bool areAnswersEqual()
{
    const QString afterTime = QStringLiteral("-bench(");
    const QString afterThread = QStringLiteral("):");
    return sampleLines<norvalePeer>(afterTime) == sampleLines<categoryPeer>(afterTime) &&
           sampleLines<norvalePeer>(afterThread) == sampleLines<spdlogPeer>(afterThread) &&
           sampleLines<norvalePeer>(afterTime).size() == 2;
}

} // namespace

int main(int argc, char** argv)
{
    qunsetenv("TZ"); // the usual case: the zone comes from the system
    QCoreApplication app(argc, argv);
    if (!areAnswersEqual()) {
        std::fputs("the peers write different lines\n", stderr);
        return 1;
    }
    registerPeer<categoryPeer>();
    registerPeer<norvalePeer>();
    registerPeer<spdlogPeer>();

    Goals goals(Goals::Round::Fastest);
    for (const char* kind : {"1_item_1_thread", "7_items_1_thread", "1_item_4_threads", "7_items_4_threads"}) {
        const std::string lines = kind;
        goals.atLeast("log_" + lines, "category_" + lines, "norvale_" + lines, lines[0] == '1' ? 8 : 4);
    }
    return runBenchmarks(argc, argv, goals);
}
