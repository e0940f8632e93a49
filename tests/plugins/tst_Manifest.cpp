#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginDependency.h"

#include <Files.h>
#include <Norvale/IPlugin.h>
#include <Norvale/cJsonValue.h>
#include <Rows.h>

/// The manifest as text, with what differs from the defaults; where it is refused, the line comes first.
static QString read(const QByteArray& xml)
{
    cManifest manifest;
    cManifestReader reader(cPluginId("Foo", cVersion("1.2")), "/F", manifest);
    QStringList parts(reader.read(xml, "/F/Manifest.xml") ? "" : reader.errorString().section(", column", 0, 0));
    parts << (manifest.autoload ? "auto" : "") << manifest.loadCategory << QString::number(manifest.apiVersion)
          << QString::number(manifest.runtimeApiVersion) << manifest.libraryPath << manifest.entryFunction
          << manifest.dependencies.join(',') << manifest.services.join(',') << manifest.params.get("a", "").toString();
    for (const auto& lines : {manifest.installCommandLines, manifest.uninstallCommandLines}) {
        for (const cCmdLine& line : lines)
            parts << QDir::fromNativeSeparators(line.property("command").toString()) + "|" +
                         line.property("params").toStringList().join(',') + "|" + line.property("condition").toString();
    }
    parts.removeAll("0");
    return parts.join(' ').simplified();
}

/// What a schema says, a line for each attribute and child of @p element, which has @p tag, and of all below.
static QStringList linesBelow(const cXmlElement& element, const QString& tag, const QHash<QString, cXmlElement>& types)
{
    QStringList lines;
    const cXmlElement inner = element.firstChild(u"xs:complexType");
    const cXmlElement type = inner.isNull() ? types.value(element.attribute(u"type")) : inner;
    for (auto part = type.firstChild(); !part.isNull(); part = part.nextSibling()) {
        if (part.tag() == u"xs:attribute")
            lines << QStringList{tag + '@' + part.attribute(u"name"), part.attribute(u"type"), part.attribute(u"use"),
                                 part.attribute(u"default"), part.attribute(u"fixed")}
                         .join(' ');
        for (auto child = part.firstChild(u"xs:element"); !child.isNull(); child = child.nextSibling()) {
            const QString name = child.attribute(u"name"), text = child.attribute(u"type");
            const QString count = part.attribute(u"maxOccurs") + child.attribute(u"maxOccurs");
            lines << tag + '/' + name + (count.isEmpty() ? " " : "* ") + (types.contains(text) ? "" : text);
            lines << linesBelow(child, name, types);
        }
    }
    return lines;
}

/// The manifest of a plugin: what it says, and the variables in its command lines.
class tst_Manifest : public QObject
{
    Q_OBJECT

private slots:
    void reads_data()
    {
        const Rows<QByteArray, QString> row("xml", "expected");
        row("everything", R"xml(<?xml version="1.0" encoding="utf-8"?><any>
            <plugin name="x" version="9.9" autoload="true" load_category="ui" api_version="4" runtime_api_version="13">
            <services><service>S1</service><other/><service>S2</service></services>
            <start><params>{"a": "b"}</params><library filename="foo" function="make"/></start>
            <dependencies><dependency>Bar:2</dependency><dependency>Core:Net</dependency><dependency/>
            <dependency>core:Net</dependency></dependencies><deployment><install><cmdline program="$(PluginDir)/run"
            condition="$(PluginName)"><param>-v</param><param>$(PluginVersion)
            </param></cmdline><other/><cmdline program="two"/></install><install><cmdline program="never"/></install>
            <uninstall><cmdline program="away"/></uninstall></deployment>
            <services><service>S3</service></services></plugin></any>)xml",
            "auto ui 4 13 /F/foo make Bar:2,core:Net S1,S2,S3 b "
            "/F/run|-v,1.02.000 |$(PluginName) two|| away||");
        row("no plugin element", "<m><Plugin autoload='true'/><n><plugin autoload='true'/></n></m>", "");
        row("no values", "<m><plugin autoload='True' api_version='abc' runtime_api_version='13x'/></m>", "");
        row("autoload stays, defaults overwrite",
            "<m><plugin autoload='true' load_category='a' api_version='3'/><plugin autoload='false'/></m>", "auto");
        row("last library counts",
            "<m><plugin><start><library filename='a' function='f'/><library/></start></plugin></m>", "/F/");
        row("each deployment of this platform adds", // and none of another
            "<m><plugin><deployment><install><cmdline program='p'/></install></deployment>"
            "<deployment platform=''><install><cmdline program='n'/></install></deployment>"
            "<deployment platform='x86'><install><cmdline program='n'/></install></deployment>"
            "<deployment platform='x64'><install><cmdline program='q'/></install></deployment></plugin></m>",
            "p|| q||");
        row("text of inner elements counts",
            "<m><plugin><services><service>a&lt;<b>c</b><!-- d --><![CDATA[&]]>\xe4</service></services></plugin></m>",
            QString::fromUtf8("a<c&\xef\xbf\xbd"));
        row("garbage", QByteArray("\x7f\x45LF\0\xff\xfe<", 9), "/F/Manifest.xml, line 1");
        row("not closed", "<m>\n<plugin></m>", "/F/Manifest.xml, line 2");
        row("service empty", "<m><plugin><services>\n<service>a</service>\n<service/></services></plugin></m>",
            "/F/Manifest.xml, line 3 a");
        row("params not JSON",
            "<m><plugin api_version='2'><start>\n<params>{</params><library filename='a'/></start></plugin></m>",
            "/F/Manifest.xml, line 2 2");
        const auto levels = [](int n) { return QByteArray("<n>").repeated(n) + "{}" + QByteArray("</n>").repeated(n); };
        row("deep in params", "<m><plugin><start><params>" + levels(900) + "</params></start></plugin></m>", "");
        row("a hundred thousand siblings",
            "<m><plugin><services>" + QByteArray("<service>s</service>").repeated(100000) + "</services></plugin></m>",
            "s" + QString(",s").repeated(99999));
    }
    void reads()
    {
        QFETCH(QByteArray, xml);
        QTEST(read(xml), "expected");
    }
    void schemaAgreesWithRules()
    {
        cXmlTree schema;
        QVERIFY(cXmlReader::read(readFile(NORVALE_SOURCE "/docs/schema/Manifest.xsd"), schema, nullptr));
        const cXmlElement root = schema.root().firstChild(u"xs:element");
        QHash<QString, cXmlElement> types;
        for (auto type = root.nextSibling(u"xs:complexType"); !type.isNull();
             type = type.nextSibling(u"xs:complexType"))
            types[type.attribute(u"name")] = type;
        QStringList written = linesBelow(root, "", types), wanted;
        for (const auto& rule : ManifestRules::Table) {
            const QString in = rule.in.toString(), name = rule.name.toString();
            const QString text = rule.text ? rule.text->schemaType : "";
            const QString fixed = name == "runtime_api_version" ? QString::number(IPlugin::RuntimeApiVersion) : "";
            const QString use = rule.absent.isNull() ? "required" : "";
            if (rule.kind == rule.Attribute)
                wanted << QStringList{in + '@' + name, text, use, rule.absent.toString(), fixed}.join(' ');
            else
                wanted << in + '/' + name + (rule.kind == rule.FirstElement ? " " : "* ") + text;
        }
        written.removeDuplicates(); // what is in a command line, for installing and for uninstalling
        written.sort();
        wanted.sort();
        QCOMPARE(written, wanted);
    }
    void dependency()
    {
        QString text;
        for (const char* written : {"Foo:2", "Foo", "Foo:x", "Foo:1:2", ":3"})
            text += QString("%1=%2 ").arg(cPluginDependency(written).name()).arg(cPluginDependency(written).number());
        QCOMPARE(text, QString("Foo=2 Foo=1 Foo=0 Foo=0 =3 "));
    }
    void expands_data()
    {
        qputenv("NT_TEMP", "/var/tmp");
        qputenv("NT_NESTED", "<$(PluginName)>");
        qputenv("NT_HALF", "$(Plugin");
        qputenv("NT_GROWS", "x$(env.NT_GROWS)");
        qputenv("NT_PING", "$(env.NT_PONG)");
        qputenv("NT_PONG", "$(env.NT_PING)");
        const Rows<QString, QString> row("text", "expected"); // null: it ends, within bounds
        row("plain", "a $ ( ) b", "a $ ( ) b");
        row("each of the plugin", "$(PluginDir)|$(PluginName)|$(PluginVersion)|$(PluginName)",
            QDir::toNativeSeparators("/suite/Foo") + "|Foo|1.02.003|Foo");
        row("case matters", "$(pluginname)$(ENV.NT_TEMP)", "$(pluginname)$(ENV.NT_TEMP)");
        row("environment", "$(env.NT_TEMP)$(env.NT_TEMP)\\$(PluginName)", "/var/tmp/var/tmp\\Foo");
        row("not set", "[$(env.NT_NOT_SET)]", "[]");
        row("no end", "$(env.PATH", "$(env.PATH");
        row("malformed shields what follows", "$(env.)$(env.NT_TEMP)$(PluginName)", "$(env.)$(env.NT_TEMP)Foo");
        row("variable in a name", "$(env.NT_$(PluginName))", "");
        row("value with a variable", "$(env.NT_NESTED)", "<Foo>");
        row("variable made of value and text", "$(env.NT_HALF)Name)", "Foo");
        for (const char* endless : {"$(env.NT_GROWS)", "$(env.NT_PING)"})
            row(endless, endless, QString());
        row("many variables", QString("$(env.NT_TEMP)").repeated(20000), QString());
    }
    void expands()
    {
        const auto [text, expected] = cells<QString, QString>("text", "expected");
        const QString expanded = cVariableExpander(cPluginId("Foo", cVersion("1.2.3")), "/suite/Foo").expand(text);
        QVERIFY(expected.isNull() ? !expanded.isEmpty() : expanded == expected);
        QVERIFY(expanded.size() <= text.size() + cVariableExpander::MaxGrowth);
    }
    void expandsPluginThatDoublesItself()
    {
        const cPluginId plugin("$(PluginName)$(PluginName)", cVersion());
        const int size = cVariableExpander(plugin, QString()).expand("$(PluginName)").size();
        QVERIFY(size > 0);
        QVERIFY(size <= 13 + cVariableExpander::MaxGrowth);
    }
};

QTEST_GUILESS_MAIN(tst_Manifest)
#include "tst_Manifest.moc"
