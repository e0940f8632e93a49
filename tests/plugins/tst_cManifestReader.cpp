#include "plugins/cManifest.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginDependency.h"
#include "plugins/cPluginInstance.h"

#include <Norvale/cJsonValue.h>

#include <QtTest/QtTest>

class tst_cManifestReader : public QObject
{
    Q_OBJECT

private slots:
    void readsEverything();
    void fields_data();
    void fields();
    void faults_data();
    void faults();
    void survivesHostileInput_data();
    void survivesHostileInput();
    void dependency_data();
    void dependency();
};

namespace {

QString line(const cCmdLine& line)
{
    return line.property("command").toString() + QLatin1Char('|') +
           line.property("params").toStringList().join(QLatin1Char(',')) + QLatin1Char('|') +
           line.property("condition").toString();
}

/// The manifest as text, for comparison; only what differs from the defaults.
QString summary(const cManifest& manifest)
{
    QStringList parts;
    const auto add = [&](const char* name, const QString& value) {
        if (!value.isEmpty() && value != QLatin1String("0"))
            parts.append(QLatin1String(name) + QLatin1Char('=') + value);
    };
    add("autoload", manifest.autoload ? QStringLiteral("true") : QString());
    add("category", manifest.loadCategory);
    add("api", QString::number(manifest.apiVersion));
    add("runtime", QString::number(manifest.runtimeApiVersion));
    add("library", manifest.libraryPath);
    add("entry", manifest.entryFunction);
    add("params", manifest.params.isNull() ? QString() : manifest.params["a"].toString());
    add("dependencies", manifest.dependencies.join(QLatin1Char(',')));
    add("services", manifest.services.join(QLatin1Char(',')));
    for (const cCmdLine& install : manifest.installCommandLines)
        add("install", line(install));
    for (const cCmdLine& uninstall : manifest.uninstallCommandLines)
        add("uninstall", line(uninstall));
    return parts.join(QLatin1Char(' '));
}

bool read(const QByteArray& xml, cManifest& manifest, QString* reason = nullptr)
{
    cPluginInstance plugin(QStringLiteral("Foo"), cVersion(QStringLiteral("1.2")));
    plugin.setFolder(QStringLiteral("/F"));
    cManifestReader reader(plugin, manifest);
    const bool isRead = reader.read(xml, QStringLiteral("/F/Manifest.xml"));
    if (reason)
        *reason = reader.errorString();
    return isRead;
}

} // namespace

void tst_cManifestReader::readsEverything()
{
    const QByteArray xml = R"xml(<?xml version="1.0" encoding="utf-8"?><any>
        <plugin name="x" version="9.9" autoload="true" load_category="ui" api_version="4" runtime_api_version="13">
          <services><service>S1</service><other/><service>S2</service></services>
          <start><params>{"a": "b"}</params><library filename="foo" function="make"/></start>
          <dependencies><dependency>Bar:2</dependency><dependency>Core:Net</dependency><dependency/>
            <dependency>core:Net</dependency></dependencies>
          <deployment>
            <install><cmdline program="$(PluginDir)/run" condition="$(PluginName)"><param>-v</param><param>$(PluginVersion)
            </param></cmdline><other/><cmdline program="two"/></install>
            <install><cmdline program="never"/></install>
            <uninstall><cmdline program="away"/></uninstall></deployment>
          <services><service>S3</service></services>
        </plugin></any>)xml";
    cManifest manifest;
    QVERIFY(read(xml, manifest));
    QCOMPARE(summary(manifest).simplified().remove(QLatin1Char('\\')),
             QStringLiteral("autoload=true category=ui api=4 runtime=13 library=/F/foo entry=make params=b "
                            "dependencies=Bar:2,core:Net services=S1,S2,S3 install=/F/run|-v,1.02.000 |$(PluginName) "
                            "install=two|| uninstall=away||"));
}

void tst_cManifestReader::fields_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("expected");

    QTest::newRow("no plugin element") << QByteArray("<m><Plugin autoload='true'/></m>") << "";
    QTest::newRow("plugin not a child of the root") << QByteArray("<m><n><plugin autoload='true'/></n></m>") << "";
    QTest::newRow("capital True") << QByteArray("<m><plugin autoload='True'/></m>") << "";
    QTest::newRow("no numbers") << QByteArray("<m><plugin api_version='abc' runtime_api_version='13x'/></m>") << "";
    QTest::newRow("autoload stays, defaults overwrite")
        << QByteArray("<m><plugin autoload='true' load_category='a' api_version='3'/><plugin autoload='false'/></m>")
        << "autoload=true";
    QTest::newRow("last library counts")
        << QByteArray("<m><plugin><start><library filename='a' function='f'/><library/></start></plugin></m>")
        << "library=/F/";
    QTest::newRow("other platform")
        << QByteArray("<m><plugin><deployment platform='x86'><install><cmdline program='p'/></install></deployment>"
                      "<deployment platform=''><install><cmdline program='p'/></install></deployment></plugin></m>")
        << "";
    QTest::newRow("each deployment adds")
        << QByteArray("<m><plugin><deployment><install><cmdline program='p'/></install></deployment>"
                      "<deployment platform='x64'><install><cmdline program='q'/></install></deployment></plugin></m>")
        << "install=p|| install=q||";
    QTest::newRow("text of inner elements counts")
        << QByteArray("<m><plugin><services><service>a<b>c</b><![CDATA[<]]></service></services></plugin></m>")
        << "services=ac<";
}

void tst_cManifestReader::fields()
{
    QFETCH(QByteArray, xml);
    cManifest manifest;
    QVERIFY(read(xml, manifest));
    QTEST(summary(manifest), "expected");
}

void tst_cManifestReader::faults_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("place");    // that the reason names
    QTest::addColumn<QString>("expected"); // what stays

    QTest::newRow("empty file") << QByteArray() << "line 1, column"
                                << "";
    QTest::newRow("garbage") << QByteArray("\x7f\x45LF\0\xff\xfe<", 9) << "line 1, column"
                             << "";
    QTest::newRow("not closed") << QByteArray("<m>\n<plugin></m>") << "line 2, column 12"
                                << "";
    QTest::newRow("service empty")
        << QByteArray(
               "<m><plugin><services>\n<service>a</service>\n<service/><service>b</service></services></plugin></m>")
        << "line 3, column"
        << "services=a";
    QTest::newRow("params not JSON")
        << QByteArray(
               "<m><plugin api_version='2'><start>\n<params>{</params><library filename='a'/></start></plugin></m>")
        << "line 2, column"
        << "api=2";
    QTest::newRow("params empty") << QByteArray("<m><plugin><start><params/></start></plugin></m>") << "line 1, column"
                                  << "";
}

void tst_cManifestReader::faults()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, place);
    cManifest manifest;
    QString reason;
    QVERIFY(!read(xml, manifest, &reason));
    QVERIFY2(reason.startsWith(QLatin1String("/F/Manifest.xml, ") + place), qPrintable(reason));
    QTEST(summary(manifest), "expected");
}

void tst_cManifestReader::survivesHostileInput_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<bool>("isRead");

    const int million = 1000000;
    QTest::newRow("a million levels") << QByteArray("<m>").repeated(million) + QByteArray("</m>").repeated(million)
                                      << false;
    QTest::newRow("a million levels, not closed") << QByteArray("<m>").repeated(million) << false;
    QTest::newRow("deep in params") << "<m><plugin><start><params>" + QByteArray("<p>").repeated(900) + "1" +
                                           QByteArray("</p>").repeated(900) + "</params></start></plugin></m>"
                                    << true;
    QTest::newRow("a hundred thousand siblings")
        << "<m><plugin><services>" + QByteArray("<service>s</service>").repeated(100000) + "</services></plugin></m>"
        << true;
    QByteArray bomb = "<!DOCTYPE m [<!ENTITY a0 'aaaaaaaaaa'>";
    for (int i = 1; i < 12; ++i)
        bomb += "<!ENTITY a" + QByteArray::number(i) + " '" +
                QByteArray("&a" + QByteArray::number(i - 1) + ";").repeated(10) + "'>";
    QTest::newRow("entities that expand to a terabyte")
        << bomb + "]><m><plugin load_category='&a11;'/>&a11;</m>" << false;
}

void tst_cManifestReader::survivesHostileInput()
{
    QFETCH(QByteArray, xml);
    cManifest manifest;
    QTEST(read(xml, manifest), "isRead");
}

void tst_cManifestReader::dependency_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("number");

    QTest::newRow("Foo:2") << "Foo" << 2;
    QTest::newRow("Foo") << "Foo" << 1;
    QTest::newRow("Foo:x") << "Foo" << 0;
    QTest::newRow("Foo:1:2") << "Foo" << 0;
    QTest::newRow(":3") << "" << 3;
}

void tst_cManifestReader::dependency()
{
    const cPluginDependency dependency(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(dependency.name(), "name");
    QTEST(int(dependency.number()), "number");
}

QTEST_GUILESS_MAIN(tst_cManifestReader)
#include "tst_cManifestReader.moc"
