#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cFeatureCatalogue.h"

#include <QtTest/QtTest>

class tst_cCatalogueWriter : public QObject
{
    Q_OBJECT

private slots:
    void writesWhatTheInstalledStateNeeds();
    void survivesReadingBack_data();
    void survivesReadingBack();
};

void tst_cCatalogueWriter::writesWhatTheInstalledStateNeeds()
{
    cFeatureCatalogue catalogue;
    QVERIFY(cCatalogueReader(catalogue).read(
        "<r name='main' version='9.9'><feature name='Core' version='1.2'><dependencies><feature "
        "name='x'/></dependencies>"
        "<displayname lang='fr'>Noyau</displayname><displayname>Core</displayname><plugins>"
        "<plugin name='P' version='1.2.3' size='4'><source>s</source><hash>00</hash></plugin></plugins></feature>"
        "<feature name='Bare' repository='other'/></r>"));
    const QDomDocument document = cCatalogueWriter::document(catalogue.features(), "3.04.005");
    const char expected[] =
        "<repository version=\"3.04.005\">"
        "<feature #version=\"1.02.000\" active=\"true\" repository=\"main\" name=\"Core\">"
        "<displayname lang=\"en-us\">Core</displayname><displayname lang=\"fr\">Noyau</displayname>"
        "<plugins><plugin #version=\"1.02.003\" name=\"P\"/></plugins></feature>"
        "<feature #version=\"0.00.000\" active=\"true\" repository=\"other\" name=\"Bare\"/></repository>";
    QDomDocument plain;
    QVERIFY(plain.setContent(QByteArray(expected).replace("#", "")));
    // Attributes have no order of their own, so trees are compared, not texts.
    const auto walk = [](const QDomDocument& tree) {
        QStringList nodes;
        for (QDomNode node = tree.documentElement(); !node.isNull();) {
            QStringList attributes{node.nodeName() + node.nodeValue()};
            for (int i = 0; i < node.attributes().size(); ++i)
                attributes.append(node.attributes().item(i).nodeName() + "=" + node.attributes().item(i).nodeValue());
            attributes.sort();
            nodes.append(attributes.join(' '));
            QDomNode next = node.firstChild();
            for (; next.isNull() && !node.isNull(); node = node.parentNode())
                next = node.nextSibling();
            node = next;
        }
        return nodes;
    };
    QCOMPARE(walk(document), walk(plain));
}

void tst_cCatalogueWriter::survivesReadingBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("markup") << "<a href=\"x\">&amp;]]></a>";
    QTest::newRow("line ends and tabs") << "a\nb\tc\r\nd";
    QTest::newRow("apostrophes") << "'\"'";
    QTest::newRow("beyond the basic plane") << QString::fromUtf8("\xf0\x9f\x9a\x80 \xc3\xa4\xe4\xb8\xad");
    QTest::newRow("spaces around") << "  a  ";
}

void tst_cCatalogueWriter::survivesReadingBack()
{
    QFETCH(QString, text);
    auto feature = QSharedPointer<cFeatureInstance>::create(text, cVersion("1.0"), true, text);
    feature->setDisplayName(text, text);
    feature->addPlugin(QSharedPointer<cFeaturePlugin>::create(text, cVersion("1.0")));
    const QByteArray xml = cCatalogueWriter::document({feature}, "1.0").toByteArray(2);

    cFeatureCatalogue catalogue;
    cCatalogueReader reader(catalogue);
    QVERIFY2(reader.read(xml), qPrintable(reader.errorString()));
    const cFeatureInstance& back = *catalogue.features().first();
    QCOMPARE(back.name(), text);
    QCOMPARE(back.repository(), text);
    QCOMPARE(back.displayNames(), feature->displayNames());
    QCOMPARE(back.plugins().first()->name(), text);
}

QTEST_APPLESS_MAIN(tst_cCatalogueWriter)
#include "tst_cCatalogueWriter.moc"
