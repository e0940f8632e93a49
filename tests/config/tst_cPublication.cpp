#include "config/cFeatureInstance.h"
#include "config/cPublication.h"

#include <QtTest/QtTest>

/// A row lists features as "name: plugin-version ...", in order, and what they publish.
class tst_cPublication : public QObject
{
    Q_OBJECT

private slots:
    void publishes_data();
    void publishes();
    void namesWhatClashes();
    void marksDevelopmentPlugins();
};

static cFeatureInstance* featureOf(const QString& text)
{
    const QString name = text.section(": ", 0, 0);
    auto* feature = new cFeatureInstance(name, cVersion(), true, "repository of " + name);
    for (const QString& plugin : text.section(": ", 1).split(' ', Qt::SkipEmptyParts)) {
        const cVersion version(plugin.section('-', 1));
        feature->addPlugin(QSharedPointer<cFeaturePlugin>::create(plugin.section('-', 0, 0), version));
    }
    return feature;
}

void tst_cPublication::publishes_data()
{
    QTest::addColumn<QStringList>("features");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const QStringList& features, const char* expected) {
        QTest::newRow(name) << features << expected;
    };
    row("nothing", {}, "");
    row("in catalogue order", {"X: B-1.0 A-1.0", "Y: C-1.0"}, "B-1.00.000 A-1.00.000 C-1.00.000");
    row("the same version once", {"X: A-1.0 B-1.0", "Y: B-1.0.0 A-1.0"}, "A-1.00.000 B-1.00.000");
    row("two versions fail", {"X: A-1.0.0", "Y: A-1.0.1"}, "fails");
    row("two versions in one feature fail", {"X: A-1.0.0 A-2.0.0"}, "fails");
    row("names are case-sensitive", {"X: A-1.0", "Y: a-2.0"}, "A-1.00.000 a-2.00.000");
    row("development last", {"X: A-1.0.0 B-1.0", "VelmDev: A-1.0.1"}, "B-1.00.000 A-1.00.001");
    row("development first", {"VelmDev: A-1.0.1", "X: A-1.0.0 B-1.0"}, "A-1.00.001 B-1.00.000");
    row("development is older", {"VelmDev: A-0.1", "X: A-1.0.0"}, "A-0.01.000");
    row("development hides a clash that follows", {"X: A-1.0", "VelmDev: A-9.0", "Y: A-2.0"}, "A-9.00.000");
    row("a clash before development fails", {"X: A-1.0", "Y: A-2.0", "VelmDev: A-9.0"}, "fails");
    row("the last of two development versions", {"VelmDev: A-1.0 B-1.0 A-2.0"}, "B-1.00.000 A-2.00.000");
    row("only exactly VelmDev is development", {"velmdev: A-1.0", "X: A-2.0"}, "fails");
}

void tst_cPublication::publishes()
{
    QFETCH(QStringList, features);
    QFETCH(QString, expected);
    cPublication publication;
    bool isPublished = true;
    for (const QString& text : features) {
        const QScopedPointer<cFeatureInstance> feature(featureOf(text));
        isPublished = isPublished && publication.add(*feature);
    }
    QStringList plugins;
    for (const auto& plugin : publication.plugins())
        plugins.append(plugin->identity());
    QCOMPARE(isPublished ? plugins.join(' ') : QString("fails"), expected);
}

void tst_cPublication::namesWhatClashes()
{
    const QScopedPointer<cFeatureInstance> first(featureOf("Reports: A-1.0.0"));
    const QScopedPointer<cFeatureInstance> second(featureOf("Charts: A-1.0.1"));
    cPublication publication;
    QVERIFY(publication.add(*first));
    QVERIFY(!publication.add(*second));
    for (const char* part : {"plugin A ", "1.00.000", "Reports", "1.00.001", "Charts"})
        QVERIFY2(publication.errorString().contains(part), part);
}

void tst_cPublication::marksDevelopmentPlugins()
{
    const QScopedPointer<cFeatureInstance> feature(featureOf("X: A-1.0"));
    const QScopedPointer<cFeatureInstance> development(featureOf("VelmDev: B-1.0"));
    cPublication publication;
    feature->plugins().first()->setDevelopment(true);
    QVERIFY(publication.add(*feature));
    QVERIFY(publication.add(*development));
    QVERIFY(!feature->plugins().first()->isDevelopment());
    QVERIFY(development->plugins().first()->isDevelopment());
}

QTEST_APPLESS_MAIN(tst_cPublication)
#include "tst_cPublication.moc"
