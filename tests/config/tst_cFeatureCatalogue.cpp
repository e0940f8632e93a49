#include "config/cFeatureCatalogue.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

using Feature = QSharedPointer<cFeatureInstance>;

/// The index must answer what a walk through the list in order answers.
class tst_cFeatureCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void findsTheFirstInListOrder_data();
    void findsTheFirstInListOrder();
    void keepsNothingOnceCleared();
};

static Feature firstOf(const cFeatureCatalogue& catalogue, const QString& name, const cVersion* version)
{
    for (const Feature& feature : catalogue.features()) {
        if (feature->name() == name && (!version || feature->version() == *version))
            return feature;
    }
    return Feature();
}

void tst_cFeatureCatalogue::findsTheFirstInListOrder_data()
{
    QTest::addColumn<int>("length");
    for (const int length : {0, 1, 8, 9, 10, 500})
        QTest::addRow("%d features", length) << length;
}

void tst_cFeatureCatalogue::findsTheFirstInListOrder()
{
    QFETCH(int, length);
    // Few names and versions, so that both come many times over; the last of each never comes.
    const QStringList names{"a", "A", "b", "", "VelmDev", "c"};
    const QStringList versions{"1.0.0", "1.0.1", "1.1.0", "2.0.0", "0.0.0", "1.31.0"};
    QRandomGenerator random(20);
    cFeatureCatalogue catalogue;
    for (int i = 0; i < length; ++i) {
        const cVersion version(versions.at(random.bounded(5)));
        catalogue.append(Feature::create(names.at(random.bounded(5)), version, false, QString()));
    }
    QCOMPARE(catalogue.features().size(), length);
    for (const QString& name : names) {
        QCOMPARE(catalogue.find(name), firstOf(catalogue, name, nullptr));
        for (const QString& text : versions) {
            const cVersion version(text);
            QCOMPARE(catalogue.find(name, version), firstOf(catalogue, name, &version));
        }
    }
}

void tst_cFeatureCatalogue::keepsNothingOnceCleared()
{
    cFeatureCatalogue catalogue;
    for (int i = 0; i < 20; ++i)
        catalogue.append(Feature::create(QString::number(i), cVersion(), false, QString()));
    catalogue.clear();
    QVERIFY(catalogue.isEmpty());
    QVERIFY(!catalogue.find("3"));
    catalogue.append(Feature::create("3", cVersion("1.0"), false, QString()));
    QCOMPARE(catalogue.find("3"), catalogue.features().first());
    QVERIFY(!catalogue.find("3", cVersion()));
}

QTEST_APPLESS_MAIN(tst_cFeatureCatalogue)
#include "tst_cFeatureCatalogue.moc"
