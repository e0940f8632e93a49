#include "Rows.h"
#include "ToolFixture.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

namespace {

QByteArray manifest(const QByteArray& inner)
{
    return "<m><plugin name='A' version='1.0.0' runtime_api_version='13'>\n"
           "<start><library filename='A' function='f'/></start>\n" +
           inner + "</plugin></m>";
}

QByteArray repository(const QByteArray& inner)
{
    return "<repository name='main' version='1.0.0'>\n" + inner + "</repository>";
}

QByteArray feature(const QByteArray& plugins)
{
    return repository("<feature name='F' version='1.0.0' active='true'><plugins>\n" + plugins + "</plugins></feature>");
}

QByteArray package(const QByteArray& attributes, const QByteArray& hash = QByteArray(40, 'a'))
{
    return "<plugin " + attributes + "><source>p.zip</source><hash>" + hash + "</hash></plugin>\n";
}

QByteArray runtime(const QByteArray& name, const QByteArray& version, const QByteArray& hash, const QByteArray& source)
{
    return repository("<runtime name='" + name + "' version='" + version + "'><hash>" + hash + "</hash><source>" +
                      source + "</source></runtime>");
}

} // namespace

class tst_Lint : public QObject
{
    Q_OBJECT

    ToolFixture m_tool;

private slots:
    void init() { m_tool.begin(); }

    void namesPlaceAndRule_data()
    {
        const Rows<QString, QByteArray, QString, QString> row("file", "text", "place", "rule");
        const QString m = "Manifest.xml";
        row("not XML", m, "<m>\n<plugin", ":2:", "xml-malformed");
        row("empty", m, "", ":", "xml-malformed");
        row("too deep", m, QByteArray("<a>").repeated(5000) + QByteArray("</a>").repeated(5000),
            ":1:", "xml-malformed");
        row("unknown element", m, manifest("<servces/>"), ":3:", "xml-unknown-element");
        row("unknown attribute", m, manifest("<deployment os='x'/>"), ":3:", "xml-unknown-attribute");
        row("no plugin", m, "<m/>", ":1:", "manifest-no-plugin");
        row("no name", m, "<m><plugin version='1.0' runtime_api_version='13'/></m>", ":1:", "manifest-bad-name");
        row("name of a path", m, manifest("").replace("'A' v", "'../A' v"), ":1:", "manifest-bad-name");
        row("no version", m, "<m><plugin name='A' runtime_api_version='13'/></m>", ":1:", "manifest-bad-version");
        row("version without point", m, manifest("").replace("1.0.0", "7"), ":1:", "manifest-bad-version");
        row("version of four", m, manifest("").replace("1.0.0", "1.2.3.4"), ":1:", "manifest-bad-version");
        row("version too great", m, manifest("").replace("1.0.0", "1.2.2147483648"), ":1:", "manifest-bad-version");
        row("other runtime", m, manifest("").replace("13", "12"), ":1:", "manifest-bad-runtime-api");
        row("api no number", m, manifest("").replace("name=", "api_version='x' name="), ":1:", "manifest-bad-number");
        row("autoload True", m, manifest("").replace("name=", "autoload='True' name="), ":1:", "manifest-bad-autoload");
        row("no library", m, manifest("").replace("<library filename='A' function='f'/>", ""),
            ":1:", "manifest-no-library");
        row("no function", m, manifest("").replace("function='f'", ""), ":2:", "manifest-bad-library");
        row("no JSON", m, manifest("<start><params>{</params></start>"), ":3:", "manifest-bad-params");
        row("empty service", m, manifest("<services>\n<service/></services>"), ":4:", "manifest-empty-service");
        row("service twice", m, manifest("<services><service>S</service>\n<service>S</service></services>"),
            ":4:", "manifest-service-twice");
        row("bad dependency", m, manifest("<dependencies><dependency>B:x</dependency></dependencies>"),
            ":3:", "manifest-bad-dependency");
        row("depends on itself", m, manifest("<dependencies><dependency>A</dependency></dependencies>"),
            ":3:", "manifest-own-dependency");
        row("dependency twice", m,
            manifest("<dependencies><dependency>B</dependency>\n<dependency>B:2</dependency></dependencies>"),
            ":4:", "manifest-dependency-twice");
        row("x86", m, manifest("<deployment platform='x86'/>"), ":3:", "manifest-other-platform");
        row("second list", m, manifest("<deployment><install/>\n<install/></deployment>"),
            ":4:", "manifest-second-list");
        row("no program", m, manifest("<deployment><install><cmdline/></install></deployment>"),
            ":3:", "manifest-no-program");
        row("unknown variable", m,
            manifest("<deployment><install>\n<cmdline program='$(Dir)'/></install></deployment>"),
            ":4:", "manifest-bad-variable");
        row("empty variable", m, manifest("<deployment><install>\n<cmdline program='$(env.)'/></install></deployment>"),
            ":4:", "manifest-bad-variable");
        row("faulty condition", m,
            manifest("<deployment><install>\n<cmdline program='p' condition='isWin9('/></install></deployment>"),
            ":4:", "manifest-bad-condition");

        const QString r = "repository.xml";
        row("no repository name", r, "<repository version='1.0.0'/>", ":1:", "catalogue-no-name");
        row("no repository version", r, "<repository name='main'/>", ":1:", "catalogue-bad-version");
        row("bad core version", r, repository("").replace("name=", "core_version='8' name="),
            ":1:", "catalogue-bad-version");
        row("nothing in it", r, repository(""), ":1:", "catalogue-no-features");
        row("feature without name", r, repository("<feature version='1.0.0'/>"), ":2:", "feature-no-name");
        row("feature without version", r, repository("<feature name='F'/>"), ":2:", "feature-bad-version");
        row("active TRUE", r, feature("").replace("'true'", "'TRUE'"), ":2:", "feature-bad-active");
        row("feature twice", r, repository("<feature name='F' version='1.0'/>\n<feature name='F' version='1.0.0'/>"),
            ":3:", "feature-twice");
        row("feature hidden", r, repository("<feature name='F' version='1.0'/>\n<feature name='F' version='2.0'/>"),
            ":3:", "feature-hidden");
        row("unknown dependency", r,
            repository("<feature name='F' version='1.0'><dependencies>\n<feature name='G'/></dependencies></feature>"),
            ":3:", "feature-unknown-dependency");
        row("plugin of a path", r, feature(package("name='../P' version='1.0.0' size='1'")), ":3:", "plugin-bad-name");
        row("plugins that differ in case", r,
            feature(package("name='P' version='1.0.0' size='1'") + package("name='p' version='1.0.0' size='1'")),
            ":4:", "plugin-name-clash");
        row("plugin without version", r, feature(package("name='P' size='1'")), ":3:", "plugin-bad-version");
        row("no size", r, feature(package("name='P' version='1.0.0'")), ":3:", "plugin-bad-size");
        row("short hash", r, feature(package("name='P' version='1.0.0' size='1'", "abcd")), ":3:", "plugin-bad-hash");
        row("no hash, no source", r, feature("<plugin name='P' version='1.0.0' size='1'/>"), ":3:", "plugin-bad-hash");
        row("no source", r, feature("<plugin name='P' version='1.0.0' size='1'/>"), ":3:", "plugin-no-source");
        row("two versions", r,
            feature(package("name='P' version='1.0' size='1'") + package("name='P' version='2.0' size='1'")),
            ":4:", "plugin-two-versions");
        const QByteArray hash(40, '0');
        row("runtime of a path", r, runtime("a/b", "1.0.0", hash, "x"), ":2:", "runtime-bad-name");
        row("runtime without version", r, runtime("a", "", hash, "x"), ":2:", "runtime-bad-version");
        row("runtime without hash", r, runtime("a", "1.0.0", "", "x"), ":2:", "runtime-bad-hash");
        row("runtime without source", r, runtime("a", "1.0.0", hash, ""), ":2:", "runtime-no-source");

        row("no core", "features.xml", "<f>\n<feature name='F' version='1.0.0'/></f>", ":1:", "suite-no-core");
        row("no folder of a plugin", "features.xml",
            "<f><feature name='Core' version='1.0'><plugins><plugin name='P' version='1.0'/></plugins></feature></f>",
            ":", "suite-plugin-missing");

        const QByteArray entry =
            "<repository config='release' platform='x64' status='release' update='m' content='m'/>\n";
        row("empty site", "site.xml", "<site/>", ":1:", "site-no-entries");
        row("debug build", "site.xml", "<site>" + QByteArray(entry).replace("'release' p", "'debug' p") + "</site>",
            ":1:", "site-other-build");
        row("no update", "site.xml", "<site>" + QByteArray(entry).replace("update='m'", "") + "</site>",
            ":1:", "site-no-update");
        row("entry twice", "site.xml", "<site>" + entry + entry + "</site>", ":2:", "site-entry-twice");
        row("no repository", "site.xml", "<site>\n" + entry + "</site>", ":2:", "site-no-repository");

        row("no archive", "P-1.00.000.zip", "PK", ":", "package-readable");
        row("other name, by content", "x.xml", "<m>\n<plugin/></m>", ":2:", "manifest-bad-name");
    }
    void namesPlaceAndRule()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, text);
        QFETCH(QString, place);
        QFETCH(QString, rule);
        m_tool.write(file, text);
        const ToolFixture::Ended ended = m_tool.run({"lint", "--strict", file});
        QCOMPARE(ended.code, 1);
        const QRegularExpression line("^" + QRegularExpression::escape(file + place) + ".*(error|warning): .* \\[" +
                                          rule + "\\]$",
                                      QRegularExpression::MultilineOption);
        QVERIFY2(ended.output.contains(line), qPrintable(ended.output));
    }

    void looksIntoFolders_data()
    {
        const Rows<QString, QString, QString> row("inner", "other", "rule");
        row("sound", "", "", "");
        row("absent dependency", "<dependencies><dependency>C</dependency></dependencies>", "",
            "suite-dependency-missing");
        row("circle", "<dependencies><dependency>B</dependency></dependencies>",
            "<dependencies><dependency>A</dependency></dependencies>", "suite-dependency-cycle");
        row("service of two", "<services><service>S</service></services>", "<services><service>S</service></services>",
            "suite-service-twice");
        row("library of another name", "<start><library filename='Z' function='f'/></start>", "",
            "manifest-library-missing");
    }
    void looksIntoFolders()
    {
        QFETCH(QString, inner);
        QFETCH(QString, other);
        QFETCH(QString, rule);
        m_tool.write("plugins/A-1.00.000/Manifest.xml", ToolFixture::manifest("A", "1.0.0", inner));
        m_tool.write("plugins/A-1.00.000/A.so", "library");
        m_tool.write("plugins/B-1.00.000/Manifest.xml", ToolFixture::manifest("B", "1.0.0", other));
        m_tool.write("plugins/B-1.00.000/B.so", "library");
        m_tool.write("plugins/features.xml",
                     "<f><feature name='Core' version='1.0.0' active='true'><plugins><plugin name='A' version='1.0.0'/>"
                     "<plugin name='B' version='1.0.0'/></plugins></feature></f>");
        const ToolFixture::Ended ended = m_tool.run("lint .");
        QCOMPARE(ended.code, rule.isEmpty() ? 0 : 1);
        QVERIFY2(rule.isEmpty() ? ended.output.isEmpty() : ended.output.contains("[" + rule + "]"),
                 qPrintable(ended.output));

        const ToolFixture::Ended graph = m_tool.run("graph . -o suite.dot");
        QCOMPARE(graph.code, 0);
        QCOMPARE(m_tool.read("suite.dot").contains("\"plugin A\" -> \"plugin B\""), rule == "suite-dependency-cycle");
    }

    // Neither time nor memory out of proportion, and an end in any case.
    void survives_data()
    {
        const Rows<QString, QByteArray, QString> row("file", "text", "said");
        QByteArray entities = "<!DOCTYPE m [<!ENTITY a 'aaaaaaaaaa'>";
        for (char name = 'b'; name < 'n'; ++name)
            entities +=
                QByteArray("<!ENTITY ") + name + " '" + (QByteArray("&") + char(name - 1) + ";").repeated(10) + "'>";
        row("a billion laughs", "Manifest.xml", entities + "]><m>&m;</m>", "xml-malformed");
        row("many services", "Manifest.xml",
            manifest("<services>" + QByteArray("<service>S</service>").repeated(100000) + "</services>"),
            "manifest-service-twice");
        row("many features", "repository.xml",
            repository(QByteArray("<feature name='F' version='1.0'/>").repeated(50000)), "feature-twice");
        row("a condition without end", "Manifest.xml",
            manifest("<deployment><install>" +
                     QByteArray("<cmdline program='p' condition='while(true);'/>").repeated(100) +
                     "</install></deployment>"),
            "manifest-bad-condition");
    }
    void survives()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, text);
        QFETCH(QString, said);
        m_tool.write(file, text);
        QVERIFY(QFile::link(m_tool.path(), m_tool.path("loop")));
        const ToolFixture::Ended ended = m_tool.run("lint --strict .");
        QCOMPARE(ended.code, 1);
        QVERIFY2(ended.output.contains("[" + said + "]"), qPrintable(ended.output.left(1000)));
    }

    void speaksToPrograms()
    {
        m_tool.write("Manifest.xml", manifest("<services>\n<service/></services>"));
        const ToolFixture::Ended ended = m_tool.run("lint --json Manifest.xml");
        const QJsonObject root = QJsonDocument::fromJson(ended.output.toUtf8()).object();
        QCOMPARE(ended.code, 1);
        QCOMPARE(root["errors"].toInt(), 1);
        QCOMPARE(root["findings"].toArray().at(0)["rule"].toString(), "manifest-empty-service");
        QCOMPARE(root["findings"].toArray().at(0)["line"].toInt(), 4);
    }

    // Whoever meets a rule's name finds it in the documentation.
    void documentsEveryRule()
    {
        QFile page(QStringLiteral(NORVALE_SOURCE "/docs/running-an-update-site.md"));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(page.readAll());
        const QStringList lines = m_tool.run("lint --rules").output.split('\n', Qt::SkipEmptyParts);
        QVERIFY(lines.size() > 50);
        for (const QString& line : lines)
            QVERIFY2(text.contains("| `" + line.section(' ', 0, 0) + "` |"), qPrintable(line));
    }

    void endsWithTheCodeOf_data()
    {
        const Rows<QString, int, QString> row("words", "code", "said");
        row("help", "--help", 0, "Exit codes:");
        row("help of a command", "site add --help", 0, "--feature-version");
        row("version", "--version", 0, "norvale ");
        row("nothing", "", 2, "subcommand");
        row("unknown option", "lint --nonsense", 2, "nonsense");
        row("lint nothing", "lint", 2, "name what");
        row("lint what is not there", "lint nothing.xml", 3, "no such file");
        row("lint an empty folder", "lint .", 3, "nothing to look at");
        row("graph of no suite", "graph .", 3, "neither features.xml");
        row("pack no folder", "pack nothing", 3, "no folder");
        row("check no site", "site check nothing", 5, "cannot be fetched");
        row("check a closed port", "site check http://127.0.0.1:9/", 5, "cannot be fetched");
        row("add to a server", "site add http://x/ p.zip --feature F --feature-version 1.0", 2, "in its folder");
        row("add packages alone", "site add s p.zip", 2, "go together");
        row("add no version", "site add s p.zip --feature F", 2, "--feature-version");
        row("add a bad version", "site add s p.zip --feature F --feature-version 1", 2, "MAJOR.MINOR");
        row("add what is not there", "site add s p.zip --feature F --feature-version 1.0", 3, "no such file");
    }
    void endsWithTheCodeOf()
    {
        QFETCH(QString, words);
        QFETCH(int, code);
        QFETCH(QString, said);
        const ToolFixture::Ended ended = m_tool.run(words);
        QCOMPARE(ended.code, code);
        QVERIFY2((code == 0 ? ended.output : ended.reasons).contains(said), qPrintable(ended.reasons));
    }
};

QTEST_GUILESS_MAIN(tst_Lint)
#include "tst_Lint.moc"
