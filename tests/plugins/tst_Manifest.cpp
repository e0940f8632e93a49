#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginDependency.h"

#include <Files.h>
#include <Norvale/IPlugin.h>
#include <Norvale/cJsonValue.h>
#include <Rows.h>

#include <QtCore/QDir>

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

/// What docs/schema/Manifest.xsd says, a line for each element and attribute.
class Schema
{
public:
    Schema()
    {
        QString reason;
        if (!cXmlReader::read(readFile(NORVALE_SOURCE "/docs/schema/Manifest.xsd"), m_tree, &reason))
            qFatal("%s", qPrintable(reason));
        for (auto type = m_tree.root().firstChild(); !type.isNull(); type = type.nextSibling())
            m_types[type.attribute(u"name")] = type;
        describe(m_types["manifest"], "");
    }
    QStringList lines() const { return m_lines; }

private:
    void describe(const cXmlElement& element, const QString& path)
    {
        const QString typeName = element.attribute(u"type");
        const cXmlElement inner = element.firstChild(u"xs:complexType");
        const cXmlElement type = inner.isNull() ? m_types.value(typeName) : inner;
        const bool isText = type.tag() != u"xs:complexType";
        m_lines << path + (isText ? ' ' + typeName : "");
        for (auto child = type.firstChild(); !isText && !child.isNull(); child = child.nextSibling())
            describeChild(child, path);
    }
    // Children in a group, or an attribute.
    void describeChild(const cXmlElement& child, const QString& path)
    {
        if (child.tag() == u"xs:attribute")
            m_lines << QStringList{path + '@' + child.attribute(u"name"), child.attribute(u"type"),
                                   child.attribute(u"use"), child.attribute(u"default"), child.attribute(u"fixed")}
                           .join(' ');
        for (auto element = child.firstChild(u"xs:element"); !element.isNull(); element = element.nextSibling())
            describe(element, path + '/' + element.attribute(u"name") + (isRepeated(child, element) ? "*" : ""));
    }
    static bool isRepeated(const cXmlElement& group, const cXmlElement& element)
    {
        return group.attribute(u"maxOccurs") == "unbounded" || element.attribute(u"maxOccurs") == "unbounded";
    }

    cXmlTree m_tree;
    QHash<QString, cXmlElement> m_types;
    QStringList m_lines;
};

/// What the schema has to say of the rules below the element @p tag at @p path.
static QStringList schemaLines(QStringView tag = u"", const QString& path = "")
{
    QStringList lines;
    for (const auto& rule : ManifestRules::Table) {
        if (rule.in != tag)
            continue;
        const QString name = rule.name.toString();
        const QString type = rule.text ? rule.text->schemaType : "";
        const bool isFixed = rule.name == u"runtime_api_version";
        const QString child = path + '/' + name + (rule.kind == rule.FirstElement ? "" : "*");
        if (rule.kind == rule.Attribute)
            lines << QStringList{path + '@' + name, type, rule.absent.isNull() ? "required" : "",
                                 rule.absent.toString(), isFixed ? QString::number(IPlugin::RuntimeApiVersion) : ""}
                         .join(' ');
        else
            lines << (child + ' ' + type).trimmed() << schemaLines(rule.name, child);
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
        QStringList written = Schema().lines();
        QStringList wanted = QStringList("") + schemaLines();
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
        QFETCH(QString, text);
        QFETCH(QString, expected);
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
