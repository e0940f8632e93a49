// Ordering plugins by their dependencies: ten times the plugins may take at most thirteen times the time. The order is
// held against what it must be: nobody before what it depends on.
//
// A suite is ordered once at each start, with nothing of it at hand. So each size is measured on ten thousand plugins
// in all, a hundred suites of a hundred or one of ten thousand: otherwise the processor would know the small suite by
// heart.

#include "Goals.h"
#include "KeepMemory.h"
#include "cProcessorTime.h"

#include "plugins/cDependencyOrder.h"

#include <QtCore/QRandomGenerator>

namespace {

using Graph = QVector<QStringList>; // the dependencies of each plugin; its name is its number

constexpr int PluginsInAll = 10000;

/// Plugins in random order of installation, each with up to four dependencies, as suites have them.
Graph randomGraph(int count, QRandomGenerator& random)
{
    QVector<int> rank(count); // whoever depends on another has the higher rank
    for (int i = 0; i < count; ++i)
        rank[i] = i;
    std::shuffle(rank.begin(), rank.end(), random);
    QVector<int> byRank(count);
    for (int i = 0; i < count; ++i)
        byRank[rank[i]] = i;
    Graph graph(count);
    for (int i = 0; i < count; ++i) {
        for (int n = rank[i] ? random.bounded(5) : 0; n > 0; --n)
            graph[i].append(QString::number(byRank[random.bounded(rank[i])]));
    }
    return graph;
}

/// Each plugin depends on the one installed after it: the passes of the rule would place one plugin each.
Graph reverseChain(int count, QRandomGenerator&)
{
    Graph graph(count);
    for (int i = 0; i + 1 < count; ++i)
        graph[i].append(QString::number(i + 1));
    return graph;
}

QVector<int> orderOf(const Graph& graph, const QStringList& names)
{
    cDependencyOrder order;
    order.reserve(graph.size(), 2 * graph.size());
    for (int i = 0; i < graph.size(); ++i)
        order.addRecord(names.at(i), graph.at(i));
    for (int i = 0; i < graph.size(); ++i) // the installed plugins are published twice
        order.addPlace(i);
    return order.order();
}

bool isRight(const Graph& graph, const QVector<int>& order)
{
    QVector<int> placeOf(graph.size(), -1);
    for (int i = 0; i < order.size(); ++i)
        placeOf[order.at(i)] = i;
    for (int i = 0; i < graph.size(); ++i) {
        for (const QString& dependency : graph.at(i)) {
            if (placeOf.at(i) <= placeOf.at(dependency.toInt()))
                return false;
        }
    }
    return order.size() == graph.size();
}

using MakeGraph = Graph (*)(int, QRandomGenerator&);

void orderPlugins(benchmark::State& state, MakeGraph make, int count)
{
    QRandomGenerator random(20110213);
    QStringList names;
    for (int i = 0; i < count; ++i)
        names.append(QString::number(i));
    QVector<Graph> suites;
    for (int i = 0; i < PluginsInAll / count; ++i)
        suites.append(make(count, random));
    for (const Graph& graph : qAsConst(suites)) {
        if (!isRight(graph, orderOf(graph, names))) {
            state.SkipWithError("the order is wrong");
            return;
        }
    }
    for (auto _ : state) {
        const cProcessorTime time;
        for (const Graph& graph : qAsConst(suites))
            benchmark::DoNotOptimize(orderOf(graph, names));
        state.SetIterationTime(time.elapsed() / suites.size());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void add(Goals& goals, const std::string& kind, MakeGraph make)
{
    for (int count : {100, 1000, 10000}) {
        benchmark::RegisterBenchmark((kind + "/" + std::to_string(count)).c_str(), orderPlugins, make, count)
            ->UseManualTime()
            ->Repetitions(15)
            ->Iterations(30)
            ->Unit(benchmark::kMicrosecond);
    }
    goals.atMost(kind + "_1k", kind + "/1000", kind + "/100", 13);
    goals.atMost(kind + "_10k", kind + "/10000", kind + "/1000", 13);
}

} // namespace

int main(int argc, char** argv)
{
    keepMemory();
    Goals goals;
    add(goals, "order", randomGraph);
    add(goals, "order_reverse_chain", reverseChain);
    return runBenchmarks(argc, argv, goals);
}
