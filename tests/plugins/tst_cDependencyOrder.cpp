#include "plugins/cDependencyOrder.h"

#include <QtCore/QMap>
#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

namespace {

struct Graph
{
    QStringList names; // of the records, which may repeat
    QVector<QStringList> dependencies;
    QVector<int> list; // the record at each place; first occurrences ascend
};

/// The order as the rule puts it: passes over the list, as long as one of them places a record.
QVector<int> orderByPasses(const Graph& graph)
{
    QMap<QString, int> firstByName;
    for (int i = 0; i < graph.names.size(); ++i) {
        if (!firstByName.contains(graph.names.at(i)))
            firstByName.insert(graph.names.at(i), i);
    }
    QVector<int> order;
    const auto isSatisfied = [&](const QString& text) {
        const int provider = firstByName.value(text.section(QLatin1Char(':'), 0, 0), -1);
        return provider >= 0 && order.contains(provider);
    };
    for (int before = -1; order.size() != before;) {
        before = order.size();
        for (int record : graph.list) {
            const QStringList& needed = graph.dependencies.at(record);
            if (!order.contains(record) && std::all_of(needed.begin(), needed.end(), isSatisfied))
                order.append(record);
        }
    }
    return order;
}

Graph randomGraph(QRandomGenerator& random)
{
    Graph graph;
    const int count = 1 + random.bounded(14);
    const int backward = random.bounded(101); // how many in a hundred point to a later record
    for (int i = 0; i < count; ++i) {
        graph.names.append(QString::number(random.bounded(12) ? i : random.bounded(count)));
        QStringList dependencies;
        for (int n = random.bounded(4); n > 0; --n) {
            const int other = random.bounded(100) < backward ? i + random.bounded(count - i) : random.bounded(i + 1);
            if (other != i || random.bounded(20) == 0)
                dependencies.append(QString::number(other) + (n == 2 ? QStringLiteral(":7") : QString()));
        }
        graph.dependencies.append(dependencies);
        graph.list.append(i);
        if (random.bounded(3) == 0)
            graph.list.append(random.bounded(i + 1));
    }
    if (random.bounded(2)) // published twice, as at every start
        graph.list += graph.list;
    return graph;
}

cDependencyOrder orderOf(const Graph& graph)
{
    cDependencyOrder order;
    int records = 0;
    for (int record : graph.list) {
        if (record == records)
            records = order.addRecord(graph.names.at(record), graph.dependencies.at(record)) + 1;
        else
            order.addPlace(record);
    }
    return order;
}

} // namespace

class tst_cDependencyOrder : public QObject
{
    Q_OBJECT

private slots:
    void isThatOfThePasses();
    void reverseChain();
    void reasons_data();
    void reasons();
};

void tst_cDependencyOrder::isThatOfThePasses()
{
    QRandomGenerator random(20110213);
    int complete = 0;
    for (int i = 0; i < 20000; ++i) {
        const Graph graph = randomGraph(random);
        cDependencyOrder order = orderOf(graph);
        const QVector<int> placed = order.order();
        QVERIFY2(placed == orderByPasses(graph), qPrintable(QStringLiteral("graph %1").arg(i)));
        QCOMPARE(order.reasons().isEmpty(), placed.size() == graph.names.size());
        complete += placed.size() == graph.names.size();
    }
    QVERIFY2(complete > 3000 && complete < 17000, qPrintable(QString::number(complete)));
}

// Each record needs the next one, so each pass of the rule places one: a million passes' steps for a thousand records.
void tst_cDependencyOrder::reverseChain()
{
    const int count = 10000;
    cDependencyOrder order;
    for (int i = 0; i < count; ++i)
        order.addRecord(QString::number(i), i + 1 < count ? QStringList(QString::number(i + 1)) : QStringList());
    const QVector<int> placed = order.order();
    QCOMPARE(placed.size(), count);
    for (int i = 0; i < count; ++i)
        QCOMPARE(placed.at(i), count - 1 - i);
}

void tst_cDependencyOrder::reasons_data()
{
    QTest::addColumn<QString>("graph"); // records as "name>dependency>dependency"
    QTest::addColumn<QStringList>("reasons");
    const QString circle = QStringLiteral("plugins depend on each other in a circle: ");

    QTest::newRow("all placed") << "A>B B" << QStringList();
    QTest::newRow("absent") << "A>X B>A" << QStringList("A depends on X, which is not installed");
    QTest::newRow("each absence") << "A>X:2>Y B"
                                  << QStringList{"A depends on X, which is not installed",
                                                 "A depends on Y, which is not installed"};
    QTest::newRow("circle of one") << "A>A" << QStringList(circle + "A -> A");
    QTest::newRow("circle behind a tail") << "T>B A>B B>C C>A" << QStringList(circle + "B -> C -> A -> B");
    QTest::newRow("two circles") << "A>B B>A C>D D>C>A" << QStringList{circle + "A -> B -> A", circle + "C -> D -> C"};
    QTest::newRow("circle through what can be placed") << "A>C>B B>C>A C" << QStringList(circle + "A -> B -> A");
}

void tst_cDependencyOrder::reasons()
{
    QFETCH(QString, graph);
    QFETCH(QStringList, reasons);
    cDependencyOrder order;
    for (const QString& record : graph.split(QLatin1Char(' '))) {
        const QStringList parts = record.split(QLatin1Char('>'));
        order.addRecord(parts.first(), parts.mid(1));
    }
    order.order();
    QCOMPARE(order.reasons(), reasons);
}

QTEST_APPLESS_MAIN(tst_cDependencyOrder)
#include "tst_cDependencyOrder.moc"
