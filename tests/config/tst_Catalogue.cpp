#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cFeatureCatalogue.h"
#include "config/cPublication.h"

#include <Rows.h>

#include <QtCore/QRandomGenerator>

using Feature = QSharedPointer<cFeatureInstance>;

static QString textOf(const cFeatureCatalogue& catalogue)
{
    QString text = catalogue.version().toString();
    for (const Feature& each : catalogue.features()) {
        text += QString(" | %1-%2 ").arg(each->name(), each->version().toString()) + (each->isActive() ? "on" : "off");
        text += QString(" [%1] <%2>").arg(each->repository(), each->dependencies().join(','));
        for (const cFeatureInstance::DisplayName& name : each->displayNames())
            text += QString(" displayname:%1=%2").arg(name.language, name.text);
        for (const cFeatureInstance::Note& note : each->notes())
            text += QString(" note:%1:%2=%3").arg(note.version.toString(), note.language, note.text);
        for (const auto& plugin : each->plugins()) {
            text +=
                QString(" %1 %2 #").arg(plugin->id().packageFileName()).arg(plugin->size()) + plugin->hash().toHex();
            for (const cFeatureSource& source : plugin->sources())
                text += " " + source.location->resolve(source.source).toString();
            for (const cFeatureDelta& delta : plugin->deltas()) {
                text += QString(" delta:%1:%2:").arg(delta.from.toString()).arg(delta.size) + delta.hash.toHex() + '=' +
                        delta.source.url().toString();
            }
        }
    }
    return text;
}

/// What a document becomes; where it is refused, the place.
static QString read(cFeatureCatalogue& catalogue, const QByteArray& xml)
{
    cCatalogueReader reader(catalogue, QSharedPointer<cUpdateLocation>::create(QUrl("http://h/s")));
    return reader.read(xml) ? textOf(catalogue) : reader.errorString().section(": ", 0, 0) + textOf(catalogue).mid(8);
}

/// The catalogue of features: its index, its document read and written, and the plugins it publishes.
class tst_Catalogue : public QObject
{
    Q_OBJECT

private slots:
    void findsTheFirstInListOrder()
    {
        // Few names and versions, so that both come many times over; the last of each never comes.
        const QStringList names{"a", "A", "", "VelmDev", "b"};
        const QStringList versions{"1.0.0", "1.0.1", "1.1.0", "0.0.0", "1.31.0"};
        QRandomGenerator random(20);
        cFeatureCatalogue catalogue;
        QHash<QString, Feature> firsts;
        for (int length = 0; length < 40; ++length) {
            for (const QString& name : names) {
                QCOMPARE(catalogue.find(name), firsts.value(name));
                for (const QString& version : versions)
                    QCOMPARE(catalogue.find(name, cVersion(version)), firsts.value(name + "-" + version));
            }
            const QString name = names.at(random.bounded(4));
            const QString version = versions.at(random.bounded(4));
            catalogue.append(Feature::create(name, cVersion(version), false, QString()));
            for (const QString& key : {name, name + "-" + version})
                firsts.insert(key, firsts.value(key, catalogue.features().last()));
        }
        catalogue.clear();
        QVERIFY(catalogue.isEmpty());
        QVERIFY(!catalogue.find("a"));
        QVERIFY(!catalogue.find("a", cVersion("1.0.0")));
    }
    void reads_data()
    {
        const Rows<QByteArray, QString> row("xml", "expected");
        row("any root tag, all defaults", "<any version='1.2.3'><feature/></any>", "1.02.003 | -0.00.000 off [] <>");
        row("active is exactly true, the root's name the default repository",
            "<r name='n'><feature active='true'/><feature name='b' active='TRUE' repository=''/></r>",
            "0.00.000 | -0.00.000 on [n] <> | b-0.00.000 off [] <>");
        row("display names, entities and sections",
            "<r><feature name='&lt;&quot;'><displayname>a&amp;<![CDATA[<b>]]><i>c</i></displayname>"
            "<displayname lang='de'>Alt</displayname><displayname lang='de'>Neu</displayname></feature></r>",
            "0.00.000 | <\"-0.00.000 off [] <> displayname:de=Neu displayname:en-us=a&<b>c");
        row("release notes, of the feature's version unless they say otherwise",
            "<r><feature version='2.0'><notes lang='de'>Neu&#10;da</notes><notes version='1.2.3'>old</notes>"
            "<displayname>F</displayname></feature><notes>no</notes></r>",
            "0.00.000 | -2.00.000 off [] <> displayname:en-us=F note:2.00.000:de=Neu\nda note:1.02.003:en-us=old");
        row("package facts, sources of the location",
            "<r><feature><plugins><plugin name='P' version='1.2.3' size='4294967295'><source>x.zip</source>"
            "<hash method='md5'>00ff</hash><source>y.zip</source><hash>aB01</hash></plugin><plugin size='4294967296'/>"
            "<plugin name='Q' size='-1'/></plugins></feature></r>",
            "0.00.000 | -0.00.000 off [] <> P-1.02.003.zip 4294967295 #ab01 http://h/s/x.zip http://h/s/y.zip"
            " -0.00.000.zip 0 # Q-0.00.000.zip 0 #");
        const QByteArray hash(40, 'a');
        const QByteArray delta = "<delta from='1.2.2' size='5' hash='" + hash + "'>d</delta>";
        const auto changed = [&](const char* piece, const char* instead) {
            return QByteArray(delta).replace(piece, instead);
        };
        row("deltas, but those that are not given whole",
            "<r><feature><plugins><plugin name='P' version='1.2.3'>" + delta + changed("from", "form") +
                changed("'1.2.2'", "'x'") + changed("size", "Size") + changed("'5'", "'-5'") + changed("hash", "Hash") +
                changed("aa'", "ag'") + changed("aa'", "'") + changed(">d<", "> <") + changed("1.2.2", "1.0") +
                "</plugin></plugins></feature>" + delta + "</r>",
            "0.00.000 | -0.00.000 off [] <> P-1.02.003.zip 0 # delta:1.02.002:5:" + hash +
                "=http://h/s/d delta:1.00.000:5:" + hash + "=http://h/s/d");
        row("a feature twice is their union",
            "<r><feature active='true' repository='x'><dependencies><feature name='b'/><x/><feature/></dependencies>"
            "<plugins><plugin size='1'><source>1</source></plugin></plugins></feature><feature version='0.00.000'>"
            "<displayname>A</displayname><dependencies><feature name='b'/></dependencies><plugins><plugin size='2'>"
            "<source>2</source></plugin><plugin version='1.0'/></plugins></feature><feature version='1.1'/></r>",
            "0.00.000 | -0.00.000 on [x] <b,,b> displayname:en-us=A -0.00.000.zip 1 # http://h/s/1 http://h/s/2"
            " -1.00.000.zip 0 # | -1.01.000 off [] <>");
        row("what is not known is skipped, tags keep their prefix",
            "<p:r p:name='x'><x><feature/></x><Feature/><p:feature/><feature Active='true'><plugin/><displayName>no"
            "</displayName><plugins><Plugin/><feature/></plugins></feature>text</p:r>",
            "0.00.000 | -0.00.000 off [] <>");
        row("nothing", "", "line 1, column 1");
        row("cut off, nothing of it stays", "<r>\n<feature/><feature>", "line 2, column 20");
    }
    void reads()
    {
        QFETCH(QByteArray, xml);
        cFeatureCatalogue catalogue;
        QTEST(read(catalogue, xml), "expected");
    }
    void readingAddsAndWritingKeepsTheInstalledState()
    {
        const QString odd = QString::fromUtf8("  <a href=\"x\">&amp;]]>'\t\r\n\xf0\x9f\x9a\x80\xe4\xb8\xad ");
        cFeatureCatalogue catalogue;
        catalogue.append(Feature::create(odd, cVersion("1.0"), false, odd));
        catalogue.features().last()->setDisplayName(odd, odd);
        read(catalogue,
             "<r name='main' version='9.9'><feature name='a'><dependencies><feature/></dependencies><plugins>"
             "<plugin name='P' size='4'><source>s</source><hash>00</hash></plugin></plugins></feature></r>");
        const QString before = textOf(catalogue);
        QCOMPARE(
            read(catalogue, "<r><feature name='a'><plugins><plugin/></plugins></feature><x></r>").section(" | ", 1),
            before.section(" | ", 1));
        QCOMPARE(textOf(catalogue), before);

        catalogue.features().last()->plugins().last()->addDelta({cVersion("1.0"), 5, QByteArray(20, 'h'), {}});
        const QByteArray xml = cCatalogueWriter::installed(catalogue.features(), "3.04.005");
        QVERIFY2(xml.count("<plugins>") == 1, "none for a feature without plugins");
        QVERIFY2(!xml.contains("name=\"main\""), "the root has no name");
        cFeatureCatalogue back;
        QCOMPARE(read(back, xml),
                 QString("3.04.005 | @-1.00.000 on [@] <> displayname:@=@ | a-0.00.000 on [main] <> P-0.00.000.zip 0 #")
                     .replace("@", odd));
    }
    void publishes_data()
    {
        // Features as "name: plugin-version ..."; the plugins they publish (* of development), or what clashes.
        const Rows<QString, QString> row("features", "published");
        const QString clash = "1.00.000 by feature \"X\", 2.00.000 by feature \"Y\"";
        row("in order, a version once", "X: B-1.0 A-1.0; Y: C-1.0 B-1.0.0", "B-1.00.000 A-1.00.000 C-1.00.000");
        row("two versions", "X: A-1.0; Y: A-2.0", clash);
        row("development last", "X: A-1.0 B-1.0; VelmDev: A-1.0.1", "B-1.00.000 A-1.00.001*");
        row("development first, older", "VelmDev: A-0.1; X: A-1.0 B-1.0", "A-0.01.000* B-1.00.000");
        row("development before a clash", "X: A-1.0; VelmDev: A-9.0; Y: A-2.0", "A-9.00.000*");
        row("clash before development", "X: A-1.0; Y: A-2.0; VelmDev: A-9.0", clash);
        row("the last of two development versions", "VelmDev: A-1.0 B-1.0 A-2.0", "B-1.00.000* A-2.00.000*");
        row("no development", "velmdev: A-1.0; X: A-2.0", "1.00.000 by feature \"velmdev\", 2.00.000 by feature \"X\"");
    }
    void publishes()
    {
        QFETCH(QString, features);
        cPublication publication;
        bool isPublished = true;
        for (const QString& text : features.split("; ")) {
            cFeatureInstance feature(text.section(": ", 0, 0), cVersion(), true, QString());
            for (const QString& plugin : text.section(": ", 1).split(' ')) {
                const cPluginId id(plugin.section('-', 0, 0), cVersion(plugin.section('-', 1)));
                feature.addPlugin(QSharedPointer<cFeaturePlugin>::create(id));
                feature.plugins().last()->setDevelopment(true); // as an earlier publication left it
            }
            isPublished = isPublished && publication.add(feature);
        }
        QStringList plugins;
        for (const auto& plugin : publication.plugins())
            plugins << plugin->id().toString() + (plugin->isDevelopment() ? "*" : "");
        QTEST(isPublished ? plugins.join(' ') : publication.errorString().section(": ", 1), "published");
    }
};

QTEST_APPLESS_MAIN(tst_Catalogue)
#include "tst_Catalogue.moc"
