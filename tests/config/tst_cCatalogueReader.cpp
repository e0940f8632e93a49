#include "config/cCatalogueReader.h"
#include "config/cFeatureCatalogue.h"

#include <QtTest/QtTest>
#include <QtXml/QDomDocument>

/// Every row is a document and what is read from it, written as one line for each feature and plugin.
class tst_cCatalogueReader : public QObject
{
    Q_OBJECT

private slots:
    void reads_data();
    void reads();
    void refuses_data();
    void refuses();
    void marksSourcesWithTheLocation();
    void addsToWhatTheCatalogueHolds();
};

static QString textOf(const cFeatureCatalogue& catalogue)
{
    QStringList lines{catalogue.version().toString()};
    for (const auto& feature : catalogue.features()) {
        QStringList names;
        for (auto it = feature->displayNames().begin(); it != feature->displayNames().end(); ++it)
            names.append(it.key().first + ":" + it.key().second + "=" + it.value());
        lines.append(QString("%1 %2 %3 [%4] <%5> {%6}")
                         .arg(feature->name(), feature->version().toString(), feature->isActive() ? "on" : "off",
                              feature->repository(), feature->dependencies().join(','), names.join(',')));
        for (const auto& plugin : feature->plugins()) {
            QStringList sources;
            for (const cFeatureSource& source : plugin->sources())
                sources.append(source.source);
            lines.append(QString(" %1 %2 #%3 <%4>")
                             .arg(plugin->packageFileName(), QString::number(plugin->size()),
                                  QString::fromLatin1(plugin->hash().toHex()), sources.join(',')));
        }
    }
    return lines.join('\n');
}

void tst_cCatalogueReader::reads_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const QString& xml, const QStringList& expected) {
        QTest::newRow(name) << xml << expected.join('\n');
    };
    row("an empty root", "<r/>", {"0.00.000"});
    row("any root tag", "<any version='1.2.3'/>", {"1.02.003"});
    row("an empty version", "<r version=''/>", {"0.00.000"});
    row("all defaults", "<r><feature/></r>", {"0.00.000", " 0.00.000 off [] <> {}"});
    row("active is exactly true",
        "<r><feature name='a' active='true'/><feature name='b' active='TRUE'/><feature name='c' active='1'/></r>",
        {"0.00.000", "a 0.00.000 on [] <> {}", "b 0.00.000 off [] <> {}", "c 0.00.000 off [] <> {}"});
    row("the root's name is the default repository",
        "<r name='main'><feature name='a'/><feature name='b' repository='other'/><feature name='c' repository=''/></r>",
        {"0.00.000", "a 0.00.000 off [main] <> {}", "b 0.00.000 off [other] <> {}", "c 0.00.000 off [] <> {}"});
    row("display names",
        "<r><feature name='a'><displayname>A</displayname><displayname lang='de'>Alt</displayname>"
        "<displayname lang='de'>Neu</displayname><displayname lang=''>leer</displayname></feature></r>",
        {"0.00.000", "a 0.00.000 off [] <> {displayname:=leer,displayname:de=Neu,displayname:en-us=A}"});
    row("dependencies keep duplicates",
        "<r><feature name='a'><dependencies><feature name='b'/><other name='x'/><feature/><feature name='b'/>"
        "</dependencies></feature></r>",
        {"0.00.000", "a 0.00.000 off [] <b,,b> {}"});
    row("a plugin with package facts",
        "<r><feature name='a'><plugins><plugin name='P' version='1.2.3' size='12'><source>x.zip</source>"
        "<hash method='md5'>00ff</hash><source>y.zip</source><hash>aB01</hash></plugin></plugins></feature></r>",
        {"0.00.000", "a 0.00.000 off [] <> {}", " P-1.02.003.zip 12 #ab01 <x.zip,y.zip>"});
    row("sizes that do not convert",
        "<r><feature name='a'><plugins><plugin name='P' size='many'/><plugin name='Q' size='-1'/>"
        "<plugin name='R' size='4294967296'/><plugin name='S' size='4294967295'/></plugins></feature></r>",
        {"0.00.000", "a 0.00.000 off [] <> {}", " P-0.00.000.zip 0 # <>", " Q-0.00.000.zip 0 # <>",
         " R-0.00.000.zip 0 # <>", " S-0.00.000.zip 4294967295 # <>"});
    row("a feature twice is their union",
        "<r><feature name='a' version='1.0' active='true' repository='x'><dependencies><feature name='b'/>"
        "</dependencies><plugins><plugin name='P' version='1.0' "
        "size='1'><source>1</source></plugin></plugins></feature>"
        "<feature name='a' version='1.00.000' repository='y'><displayname>A</displayname><dependencies>"
        "<feature name='c'/></dependencies><plugins><plugin name='P' version='1.0.0' "
        "size='2'><source>2</source></plugin>"
        "<plugin name='P' version='1.0.1'/></plugins></feature><feature name='a' version='1.1'/></r>",
        {"0.00.000", "a 1.00.000 on [x] <b,c> {displayname:en-us=A}", " P-1.00.000.zip 1 # <1,2>",
         " P-1.00.001.zip 0 # <>", "a 1.01.000 off [] <> {}"});
    row("what is not known is skipped",
        "<r><x><feature name='no'/></x><Feature name='no'/><feature name='a' Active='true'><plugin name='no'/>"
        "<displayName>no</displayName><plugins><Plugin/><feature/></plugins></feature>text<!-- --></r>",
        {"0.00.000", "a 0.00.000 off [] <> {}"});
    row("tags keep their prefix", "<p:r p:name='x'><p:feature name='no'/><feature name='a'/></p:r>",
        {"0.00.000", "a 0.00.000 off [] <> {}"});
    row("texts with entities and sections",
        "<r><feature name='&lt;&quot;'><displayname>a&amp;<![CDATA[<b>]]><i>c</i></displayname></feature></r>",
        {"0.00.000", "<\" 0.00.000 off [] <> {displayname:en-us=a&<b>c}"});
}

void tst_cCatalogueReader::reads()
{
    QFETCH(QString, xml);
    QFETCH(QString, expected);
    cFeatureCatalogue catalogue;
    QVERIFY(cCatalogueReader(catalogue).read(xml.toUtf8()));
    QCOMPARE(textOf(catalogue), expected);
}

void tst_cCatalogueReader::refuses_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("reason");
    QTest::newRow("nothing") << QByteArray() << "line 1, column 1: ";
    QTest::newRow("text") << QByteArray("features") << "line 1, column 1: ";
    QTest::newRow("cut off") << QByteArray("<r>\n<feature>") << "line 2, column 10: ";
    QTest::newRow("two roots") << QByteArray("<r/>\n<feature/>") << "line 2, column 2: ";
    QTest::newRow("nested a million deep") << QByteArray("<r>").repeated(1000000) << "line 1, column 3003: ";
}

void tst_cCatalogueReader::refuses()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, reason);
    cFeatureCatalogue catalogue;
    cCatalogueReader reader(catalogue);
    QVERIFY(!reader.read(xml));
    QVERIFY2(reader.errorString().startsWith(reason), qPrintable(reader.errorString()));
    QVERIFY(catalogue.isEmpty());
}

void tst_cCatalogueReader::marksSourcesWithTheLocation()
{
    const auto location = QSharedPointer<cUpdateLocation>::create(QUrl("http://example.org/site"));
    cFeatureCatalogue catalogue;
    QVERIFY(cCatalogueReader(catalogue, location)
                .read("<r><feature><plugins><plugin><source>a.zip</source></plugin></plugins></feature></r>"));
    const cFeatureSource source = catalogue.features().first()->plugins().first()->sources().first();
    QCOMPARE(source.location, location);
    QCOMPARE(source.location->resolve(source.source), QUrl("http://example.org/site/a.zip"));
}

void tst_cCatalogueReader::addsToWhatTheCatalogueHolds()
{
    cFeatureCatalogue catalogue;
    QVERIFY(cCatalogueReader(catalogue).read("<r version='2.0'><feature name='a'/></r>"));
    QVERIFY(!cCatalogueReader(catalogue).read(QDomNode()));
    QVERIFY(!cCatalogueReader(catalogue).read(QDomDocument().createElement("feature")));
    QCOMPARE(textOf(catalogue), QString("2.00.000\na 0.00.000 off [] <> {}"));
    QVERIFY(cCatalogueReader(catalogue).read("<r name='n'><feature name='a'/><feature name='b'/></r>"));
    QCOMPARE(textOf(catalogue), QString("0.00.000\na 0.00.000 off [] <> {}\nb 0.00.000 off [n] <> {}"));
}

QTEST_APPLESS_MAIN(tst_cCatalogueReader)
#include "tst_cCatalogueReader.moc"
