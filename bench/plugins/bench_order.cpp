// Ordering plugins by their dependencies, beside the plain way over the same data: a hash of the names and a queue of
// what waits for nothing. Both orders are held against what they must be: nobody before what it depends on. How the
// time grows is told, too; it is no goal, for what grows then is the share of what lies outside the processor's caches.
//
// A suite is ordered once at each start, with nothing of it at hand. So each size is measured on ten thousand plugins
// in all, a hundred suites of a hundred or one of ten thousand: otherwise the processor would know the small suite by
// heart.

#include "Goals.h"
#include "KeepMemory.h"
#include "cProcessorTime.h"

#include "plugins/cDependencyOrder.h"

#include <QtCore/QHash>
#include <QtCore/QRandomGenerator>

#include <queue>

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

QVector<int> orderByFramework(const Graph& graph, const QStringList& names)
{
    cDependencyOrder order;
    order.reserve(graph.size(), 2 * graph.size());
    for (int i = 0; i < graph.size(); ++i)
        order.addRecord(names.at(i), graph.at(i));
    for (int i = 0; i < graph.size(); ++i) // the installed plugins are published twice
        order.addPlace(i);
    return order.order();
}

/// Kahn's algorithm as it is written down everywhere. It knows neither the places of the load list nor reasons.
QVector<int> orderPlainly(const Graph& graph, const QStringList& names)
{
    QHash<QString, int> numbers;
    numbers.reserve(names.size());
    for (int i = 0; i < names.size(); ++i)
        numbers.insert(names.at(i), i);
    QVector<int> missing(graph.size());
    QVector<QVector<int>> dependents(graph.size());
    for (int i = 0; i < graph.size(); ++i) {
        missing[i] = graph.at(i).size();
        for (const QString& dependency : graph.at(i))
            dependents[numbers.value(dependency)].append(i);
    }
    std::queue<int> due;
    for (int i = 0; i < graph.size(); ++i) {
        if (missing.at(i) == 0)
            due.push(i);
    }
    QVector<int> order;
    order.reserve(graph.size());
    for (; !due.empty(); due.pop()) {
        order.append(due.front());
        for (int dependent : qAsConst(dependents)[due.front()]) {
            if (--missing[dependent] == 0)
                due.push(dependent);
        }
    }
    return order;
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
using Order = QVector<int> (*)(const Graph&, const QStringList&);

void orderPlugins(benchmark::State& state, MakeGraph make, int count, Order order)
{
    QRandomGenerator random(20110213);
    QStringList names;
    for (int i = 0; i < count; ++i)
        names.append(QString::number(i));
    QVector<Graph> suites;
    for (int i = 0; i < PluginsInAll / count; ++i)
        suites.append(make(count, random));
    for (const Graph& graph : qAsConst(suites)) {
        if (!isRight(graph, order(graph, names))) {
            state.SkipWithError("the order is wrong");
            return;
        }
    }
    for (auto _ : state) {
        const cProcessorTime time;
        for (const Graph& graph : qAsConst(suites))
            benchmark::DoNotOptimize(order(graph, names));
        state.SetIterationTime(time.elapsed() / suites.size());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void add(const std::string& name, MakeGraph make, int count, Order order)
{
    benchmark::RegisterBenchmark(name.c_str(), orderPlugins, make, count, order)
        ->UseManualTime()
        ->Repetitions(15)
        ->Iterations(30)
        ->Unit(benchmark::kMicrosecond);
}

void addKind(Goals& goals, const std::string& kind, MakeGraph make)
{
    for (int count : {100, 1000, 10000}) {
        add(kind + "/" + std::to_string(count), make, count, orderByFramework);
        add(kind + "_plain/" + std::to_string(count), make, count, orderPlainly);
    }
    goals.growth(kind + "_1k", kind + "/1000", kind + "/100");
    goals.growth(kind + "_10k", kind + "/10000", kind + "/1000");
    goals.atMost(kind + "_1k", kind + "/1000", kind + "_plain/1000", 1.5);
    goals.atMost(kind + "_10k", kind + "/10000", kind + "_plain/10000", 1.5);
}

} // namespace

int main(int argc, char** argv)
{
    keepMemory();
    Goals goals(Goals::Round::Fastest);
    addKind(goals, "order", randomGraph);
    addKind(goals, "order_reverse_chain", reverseChain);
    return runBenchmarks(argc, argv, goals);
}
