#include "plugins/cDependencyOrder.h"

#include <Rows.h>

/// A name and the dependencies.
using Record = QStringList;

/// The order as the rule puts it: passes over the list, as long as one of them places a record.
static QVector<int> orderByPasses(const QList<Record>& records, const QVector<int>& list)
{
    QVector<int> order;
    const auto isSatisfied = [&](const QString& text) {
        const auto isNamed = [&](const Record& record) { return record.first() == text.section(':', 0, 0); };
        return order.contains(int(std::find_if(records.begin(), records.end(), isNamed) - records.begin()));
    };
    for (int before = -1; order.size() != before;) {
        before = order.size();
        for (int place : list) {
            const Record& record = records.at(place);
            if (!order.contains(place) && std::all_of(record.begin() + 1, record.end(), isSatisfied))
                order.append(place);
        }
    }
    return order;
}

static Record randomRecord(QRandomGenerator& random, int i, int count, int backward)
{
    Record record(QString::number(random.bounded(12) ? i : random.bounded(count)));
    for (int n = random.bounded(4); n > 0; --n) {
        const int other = random.bounded(100) < backward ? i + random.bounded(count - i) : random.bounded(i + 1);
        if (other != i || random.bounded(20) == 0)
            record.append(QString::number(other) + (n == 2 ? ":7" : ""));
    }
    return record;
}

class tst_cDependencyOrder : public QObject
{
    Q_OBJECT

private slots:
    void isThatOfThePasses()
    {
        QRandomGenerator random(20110213);
        int complete = 0;
        for (int graph = 0; graph < 20000; ++graph) {
            QList<Record> records;
            QVector<int> list; // the record at each place; first occurrences ascend
            cDependencyOrder order;
            const auto addPlace = [&](int record) {
                list.append(record);
                order.addPlace(record);
            };
            const int count = 1 + random.bounded(14);
            const int backward = random.bounded(101); // how many in a hundred need a later record
            for (int i = 0; i < count; ++i) {
                records.append(randomRecord(random, i, count, backward));
                list.append(order.addRecord(records.at(i).first(), records.at(i).mid(1)));
                if (random.bounded(3) == 0)
                    addPlace(random.bounded(i + 1));
            }
            const QVector<int> again = random.bounded(2) ? list : QVector<int>(); // published twice, as at every start
            for (int place : again)
                addPlace(place);
            const QVector<int> placed = order.order();
            QVERIFY2(placed == orderByPasses(records, list), QByteArray::number(graph));
            QCOMPARE(order.faults().isEmpty(), placed.size() == count);
            complete += placed.size() == count;
        }
        QVERIFY2(qBound(3000, complete, 17000) == complete, QByteArray::number(complete));
    }
    void reasons_data()
    {
        const Rows<QString, QString> row("records", "reasons");
        const QString circle = "plugins depend on each other in a circle: ";
        row("absent", "A>X B>A", "plugin \"A\" depends on \"X\", which is not installed");
        row("each absence", "A>X:2>Y B",
            "plugin \"A\" depends on \"X\", which is not installed|plugin \"A\" depends on \"Y\", which is not "
            "installed");
        row("circle of one", "A>A", circle + "A -> A");
        row("circle behind a tail", "T>B A>B B>C C>A", circle + "B -> C -> A -> B");
        row("two circles", "A>B B>A C>D D>C>A", circle + "A -> B -> A|" + circle + "C -> D -> C");
        row("circle through what can be placed", "A>C>B B>C>A C", circle + "A -> B -> A");
    }
    void reasons()
    {
        QFETCH(QString, records);
        cDependencyOrder order;
        for (const QString& record : records.split(' '))
            order.addRecord(record.section('>', 0, 0), record.split('>').mid(1));
        order.order();
        QStringList reasons;
        for (const cOrderFault& fault : order.faults())
            reasons.append(fault.text);
        QTEST(reasons.join('|'), "reasons");
    }
};

QTEST_APPLESS_MAIN(tst_cDependencyOrder)
#include "tst_cDependencyOrder.moc"
