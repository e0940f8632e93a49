#include "cNamedService.h"

#include "services/cServiceIndex.h"
#include "services/cServiceInstance.h"

#include <QtCore/QHash>
#include <QtTest/QtTest>

#include <memory>
#include <random>
#include <vector>

class tst_cServiceIndex : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void agreesWithAHash();
};

/// A million random entries, removals and look-ups give what a QHash gives, while both grow and shrink.
void tst_cServiceIndex::agreesWithAHash()
{
    constexpr int Ids = 3000, Steps = 1000000;
    std::vector<std::unique_ptr<cNamedService>> services;
    std::vector<std::unique_ptr<cServiceInstance>> records;
    for (int i = 0; i < 2 * Ids; ++i) { // two records for each id
        services.push_back(std::make_unique<cNamedService>("Id" + QByteArray::number(i % Ids)));
        records.push_back(std::make_unique<cServiceInstance>(services.back().get()));
    }

    cServiceIndex index;
    QHash<QString, const cServiceInstance*> expected;
    std::mt19937 random(7);
    for (int step = 0; step < Steps; ++step) {
        const cServiceInstance* record = records[random() % records.size()].get();
        const bool isGrowing = step / (Steps / 8) % 2 == 0;
        if (random() % 4 < (isGrowing ? 3u : 1u)) {
            index.insert(record);
            expected.insert(record->name(), record);
        } else {
            QCOMPARE(index.remove(record->name()), expected.remove(record->name()) == 1);
        }
        const QString& asked = records[random() % records.size()]->name();
        QCOMPARE(index.find(asked), expected.value(asked));
    }
    index.clear();
    QVERIFY(!index.find(records.front()->name()));
    QVERIFY(!index.remove(records.front()->name()));
}

QTEST_APPLESS_MAIN(tst_cServiceIndex)
#include "tst_cServiceIndex.moc"
