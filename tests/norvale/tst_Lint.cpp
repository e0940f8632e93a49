#include "ToolFixture.h"

namespace {

const char* const Manifest = R"(<manifest>
<plugin name='A' version='1.0.0' runtime_api_version='13'>
<start><library filename='A' function='f'/><params>{}</params></start>
<services><service>S</service></services>
<dependencies><dependency>B</dependency></dependencies>
<deployment platform='x64'><install>
<cmdline program='p' condition='true'/></install></deployment>
</plugin></manifest>)";

const char* const Repository = R"(<repository name='main' version='1.0.0'>
<feature name='F' version='1.0.0' active='true'><plugins>
<plugin name='P' version='1.0.0' size='1'>
<source>p.zip</source><hash>aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa</hash></plugin>
</plugins></feature>
<runtime name='r' version='2.0.0'>
<source>r.run</source><hash>bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb</hash></runtime>
</repository>)";

const QByteArray SiteEntry = "<repository config='release' platform='x64' status='release' update='m' content='m'/>\n";

} // namespace

class tst_Lint : public QObject
{
    Q_OBJECT

    ToolFixture m_tool;

private slots:
    void init() { m_tool.begin(); }

    // Each row spoils a sound document in one place.
    void namesPlaceAndRule_data()
    {
        const Rows<QString, QByteArray, QByteArray, int, QString> row("file", "piece", "instead", "line", "rule");
        const QString m = "Manifest.xml";
        row("not XML", m, Manifest, "<m>\n<plugin", 2, "xml-malformed");
        row("empty", m, Manifest, "", 0, "xml-malformed");
        row("unknown element", m, "</plugin>", "<servces/></plugin>", 8, "xml-unknown-element");
        row("unknown attribute", m, "'x64'", "'x64' os='x'", 6, "xml-unknown-attribute");
        row("no plugin", m, Manifest, "<m/>", 1, "manifest-no-plugin");
        row("no name", m, " name='A'", "", 2, "manifest-bad-name");
        row("name of a path", m, " name='A'", " name='../A'", 2, "manifest-bad-name");
        row("no version", m, " version='1.0.0'", "", 2, "manifest-bad-version");
        row("version without point", m, "1.0.0", "7", 2, "manifest-bad-version");
        row("version of four", m, "1.0.0", "1.2.3.4", 2, "manifest-bad-version");
        row("version too great", m, "1.0.0", "1.2.2147483648", 2, "manifest-bad-version");
        row("other runtime", m, "'13'", "'12'", 2, "manifest-bad-runtime-api");
        row("api no number", m, "'13'", "'13' api_version='x'", 2, "manifest-bad-number");
        row("autoload True", m, "'13'", "'13' autoload='True'", 2, "manifest-bad-autoload");
        row("isolated yes", m, "'13'", "'13' isolated='yes'", 2, "manifest-bad-isolated");
        row("no library", m, "<library filename='A' function='f'/>", "", 2, "manifest-no-library");
        row("no function", m, "function='f'", "", 3, "manifest-bad-library");
        row("no JSON", m, "{}", "{", 3, "manifest-bad-params");
        row("params lose a character", m, "{}", "{\"a\": \"\xe2\x82\xac\"}", 3, "manifest-lossy-params");
        row("empty service", m, "</services>", "\n<service/></services>", 5, "manifest-empty-service");
        row("service twice", m, "</services>", "\n<service>S</service></services>", 5, "manifest-service-twice");
        row("many services", m, "<service>S</service>", QByteArray("<service>S</service>").repeated(100000), 4,
            "manifest-service-twice");
        row("bad dependency", m, "B<", "B:x<", 5, "manifest-bad-dependency");
        row("depends on itself", m, "B<", "A<", 5, "manifest-own-dependency");
        row("dependency twice", m, "B<", "B:2</dependency>\n<dependency>B<", 6, "manifest-dependency-twice");
        row("x86", m, "x64", "x86", 6, "manifest-other-platform");
        row("second list", m, "</install>", "</install>\n<install/>", 8, "manifest-second-list");
        row("no program", m, "program='p'", "", 7, "manifest-no-program");
        row("unknown variable", m, "'p'", "'$(Dir)'", 7, "manifest-bad-variable");
        row("empty variable", m, "'p'", "'$(env.)'", 7, "manifest-bad-variable");
        row("faulty condition", m, "true", "isWin9(", 7, "manifest-bad-condition");
        row("conditions without end", m, "<cmdline program='p' condition='true'/>",
            QByteArray("<cmdline program='p' condition='while(true);'/>").repeated(100), 7, "manifest-bad-condition");
        row("other name, by content", "x.xml", Manifest, "<m>\n<plugin/></m>", 2, "manifest-bad-name");

        const QString r = "repository.xml";
        row("no repository name", r, " name='main'", "", 1, "catalogue-no-name");
        row("no repository version", r, "'main' version='1.0.0'", "'main'", 1, "catalogue-bad-version");
        row("bad core version", r, "'main'", "'main' core_version='8'", 1, "catalogue-bad-version");
        row("nothing in it", r, Repository, "<repository name='main' version='1.0.0'/>", 1, "catalogue-no-features");
        row("feature without name", r, "name='F'", "", 2, "feature-no-name");
        row("feature without version", r, "'F' version='1.0.0'", "'F'", 2, "feature-bad-version");
        row("active TRUE", r, "'true'", "'TRUE'", 2, "feature-bad-active");
        const QByteArray second = "</feature>\n<feature name='F' version='1.0'/>";
        row("feature twice", r, "</feature>", second, 6, "feature-twice");
        row("many features", r, "</feature>", "</feature>" + second.mid(10).repeated(50000), 6, "feature-twice");
        row("feature hidden", r, "</feature>", QByteArray(second).replace("1.0", "2.0"), 6, "feature-hidden");
        row("unknown dependency", r, "<plugins>", "<dependencies>\n<feature name='G'/></dependencies><plugins>", 3,
            "feature-unknown-dependency");
        row("plugin of a path", r, "'P'", "'../P'", 3, "plugin-bad-name");
        row("differ in case", r, "</plugins>", "<plugin name='p' version='1.0.0'/></plugins>", 5, "plugin-name-clash");
        row("plugin without version", r, "'P' version='1.0.0'", "'P'", 3, "plugin-bad-version");
        row("no size", r, " size='1'", "", 3, "plugin-bad-size");
        const QByteArray n = "<plugins>"; // notes stand before them, in line 2
        row("notes of no version", r, n, "<notes version='x'>a</notes><plugins>", 2, "notes-bad-version");
        row("notes of a newer version", r, n, "<notes version='1.0.1'>a</notes><plugins>", 2, "notes-bad-version");
        row("notes twice", r, n, "<notes>a</notes>\n<notes lang='en-us'>b</notes><plugins>", 3, "notes-twice");
        row("empty notes", r, n, "<notes> </notes><plugins>", 2, "notes-empty");
        row("long notes", r, n, "<notes>" + QByteArray(4001, 'a') + "</notes><plugins>", 2, "notes-too-long");
        const QByteArray hash(40, 'a');
        row("short hash", r, hash, "abcd", 4, "plugin-bad-hash");
        row("no hash", r, "<hash>" + hash + "</hash>", "", 3, "plugin-bad-hash");
        const QByteArray d = "<delta from='0.9.0' size='5' hash='" + hash + "'>p.delta</delta></plugin>";
        const auto delta = [&](const QByteArray& piece, const QByteArray& instead) {
            return '\n' + QByteArray(d).replace(piece, instead);
        };
        row("delta from no version", r, "</plugin>", delta("0.9.0", "x"), 5, "plugin-bad-delta");
        row("delta from itself", r, "</plugin>", delta("0.9.0", "1.0.0"), 5, "plugin-bad-delta");
        row("delta without size", r, "</plugin>", delta("'5'", "'0'"), 5, "plugin-bad-delta");
        row("delta without hash", r, "</plugin>", delta("hash='", "hash='b"), 5, "plugin-bad-delta");
        row("delta without path", r, "</plugin>", delta("p.delta", " "), 5, "plugin-bad-delta");
        row("delta twice", r, "</plugin>", delta("</plugin>", d), 5, "plugin-bad-delta");
        row("no source", r, "<source>p.zip</source>", "", 3, "plugin-no-source");
        row("two versions", r, "</plugins>", "<plugin name='P' version='2.0'/></plugins>", 5, "plugin-two-versions");
        row("runtime of a path", r, "'r'", "'a/b'", 6, "runtime-bad-name");
        row("runtime without version", r, "2.0.0", "", 6, "runtime-bad-version");
        row("runtime without hash", r, QByteArray(40, 'b'), "", 7, "runtime-bad-hash");
        row("runtime without source", r, "r.run", "", 6, "runtime-no-source");

        row("no core", "features.xml", "", "<f>\n<feature name='F' version='1.0.0'/></f>", 1, "suite-no-core");
        row("no folder of a plugin", "features.xml", "",
            "<f><feature name='Core' version='1.0'><plugins><plugin name='P' version='1.0'/></plugins></feature></f>",
            0, "suite-plugin-missing");

        const QByteArray site = "<site>\n" + SiteEntry + "</site>";
        row("empty site", "site.xml", "", "<site/>", 1, "site-no-entries");
        row("debug build", "site.xml", "", QByteArray(site).replace("'release' p", "'debug' p"), 2, "site-other-build");
        row("no update", "site.xml", "", QByteArray(site).replace("update='m'", ""), 2, "site-no-update");
        row("entry twice", "site.xml", "", "<site>" + SiteEntry.repeated(2) + "</site>", 2, "site-entry-twice");
        row("no repository", "site.xml", "", site, 2, "site-no-repository");
        row("an empty status", "site.xml", "", QByteArray(site).replace("status='release'", "status=''"), 2,
            "site-no-update");
        row("no archive", "P-1.00.000.zip", "", "PK", 0, "package-readable");
    }
    void namesPlaceAndRule()
    {
        const auto [file, piece, instead, line, rule] =
            cells<QString, QByteArray, QByteArray, int, QString>("file", "piece", "instead", "line", "rule");
        const QByteArray sound = file == "repository.xml" ? Repository : Manifest;
        QVERIFY(sound.contains(piece));
        m_tool.write(file, piece.isEmpty() ? instead : QByteArray(sound).replace(piece, instead));
        const Ended ended = m_tool.run({"lint", "--strict", file});
        QCOMPARE(ended.code, 1);
        const QString place = line > 0 ? QString("%1:%2:").arg(file).arg(line) : file + ':';
        const QRegularExpression told("^" + QRegularExpression::escape(place) + ".*(error|warning): .* \\[" + rule +
                                          "\\]$",
                                      QRegularExpression::MultilineOption);
        QVERIFY2(ended.output.contains(told), qPrintable(ended.output.left(1000)));
    }

    // A build knows what it makes, and asks for manifests of that.
    void holdsAgainstBuiltPlugin_data()
    {
        const Rows<QString, QByteArray, int, QByteArray> row("words", "library", "code", "said");
        const QByteArray library = "<library filename='A' function='f'/>";
        row("sound", "--plugin A-1.00.000 --function f", library, 0, "");
        row("any function", "--plugin A-1.00.000", library, 0, "");
        row("other name", "--plugin B-1.00.000", library, 1, ":2:58: error: the manifest is that of A-1.00.000, and B");
        row("other version", "--plugin A-1.00.001", library, 1, "and A-1.00.001 is built [folder-identity]");
        row("other library", "--plugin A-1.00.000", "<library filename='A.so' function='f'/>", 1,
            "the library is \"A.so\", and \"A\" is built [manifest-library-missing]");
        row("no library", "--plugin A-1.00.000", "", 1, "there is no <library>, and \"A\" is built");
        row("other function", "--plugin A-1.00.000 --function g", library, 1,
            "the function is \"f\", and \"g\" is built [manifest-bad-library]");
        row("no version", "--plugin A", library, 2, "");
        row("function alone", "--function f", library, 2, "");
    }
    void holdsAgainstBuiltPlugin()
    {
        const auto [words, library, code, said] =
            cells<QString, QByteArray, int, QByteArray>("words", "library", "code", "said");
        m_tool.write("manifest.in", QByteArray(Manifest).replace("<library filename='A' function='f'/>", library));
        const Ended ended = m_tool.run("lint --quiet " + words + " manifest.in");
        QCOMPARE(ended.code, code);
        QVERIFY2(ended.output.contains(said), qPrintable(ended.output));
        QCOMPARE(ended.reasons.isEmpty(), code == 0); // --quiet
    }

    void looksIntoFolders_data()
    {
        const Rows<QString, QString, QString> row("inner", "other", "rule");
        row("sound", "", "", "");
        row("two Qts", "", "<!-- another Qt -->", "suite-qt-mixed");
        row("absent dependency", "<dependencies><dependency>C</dependency></dependencies>", "",
            "suite-dependency-missing");
        row("circle", "<dependencies><dependency>B</dependency></dependencies>",
            "<dependencies><dependency>A</dependency></dependencies>", "suite-dependency-cycle");
        row("service of two", "<services><service>S</service></services>", "<services><service>S</service></services>",
            "suite-service-twice");
        row("no features.xml", "-", "", "suite-no-features");
        row("library of another name", "<start><library filename='Z' function='f'/></start>", "",
            "manifest-library-missing");
    }
    void looksIntoFolders()
    {
        const auto [inner, other, rule] = cells<QString, QString, QString>("inner", "other", "rule");
        const bool hasFeatures = inner != "-";
        m_tool.write("plugins/A-1.00.000/Manifest.xml", ToolFixture::manifest("A", "1.0.0", hasFeatures ? inner : ""));
        m_tool.write("plugins/A-1.00.000/A.so", ToolFixture::library(6));
        m_tool.write("plugins/B-1.00.000/Manifest.xml", ToolFixture::manifest("B", "1.0.0", other));
        m_tool.write("plugins/B-1.00.000/B.so", ToolFixture::library(other.contains("Qt") ? 5 : 6));
        m_tool.write(hasFeatures ? "plugins/features.xml" : "elsewhere/features.xml",
                     "<f><feature name='Core' version='1.0.0' active='true'><plugins><plugin name='A' version='1.0.0'/>"
                     "<plugin name='B' version='1.0.0'/></plugins></feature></f>");
        QVERIFY(QFile::link(m_tool.path(), m_tool.path("loop")));
        const Ended ended = m_tool.run("lint .");
        QCOMPARE(ended.code, rule.isEmpty() || rule == "suite-qt-mixed" ? 0 : 1); // that is a warning
        QVERIFY2(rule.isEmpty() ? ended.output.isEmpty() : ended.output.contains("[" + rule + "]"),
                 qPrintable(ended.output));

        const Ended graph = m_tool.run("graph . --json -o suite.dot");
        QCOMPARE(graph.code, hasFeatures ? 0 : 3);
        const bool isCircle = rule == "suite-dependency-cycle";
        QCOMPARE(m_tool.read("suite.dot").contains("\"plugin A\" -> \"plugin B\" [penwidth=2, color=\"#c62828\"]"),
                 isCircle);
        const QJsonArray circles = ToolFixture::jsonOf(graph)["plugin_cycles"].toArray();
        QCOMPARE(circles.size(), int(isCircle));
        QCOMPARE(circles.at(0).toArray(), isCircle ? QJsonArray({"A", "B"}) : QJsonArray());
    }

    void speaksToPrograms()
    {
        m_tool.write(
            "Manifest.xml",
            QByteArray(Manifest).replace("<service>S</service>", "<service/>").replace("B<", "\xe2\x80\xae:x<"));
        const Ended ended = m_tool.run("lint --json Manifest.xml");
        QVERIFY(ended.output.contains("\\u202e"));
        QVERIFY(!ended.output.contains(QChar(0x202e)));
        const QJsonObject root = ToolFixture::jsonOf(ended);
        QCOMPARE(ended.code, 1);
        QCOMPARE(root["errors"].toInt(), 1);
        QVERIFY(root["findings"][1]["text"].toString().contains(QChar(0x202e)));
        QCOMPARE(root["findings"][0]["rule"].toString(), "manifest-empty-service");
        QCOMPARE(root["findings"][0]["line"].toInt(), 4);

        const auto answer = [&](const QString& words) { return ToolFixture::jsonOf(m_tool.run(words)); };
        QCOMPARE(answer("pack --json " + m_tool.makePlugin("A", "1.0.0"))["package"].toString(), "./A-1.00.000.zip");
        for (const QString command : {"lint", "graph", "pack", "site check", "site list", "site retire --expired",
                                      "site promote --from beta"}) {
            const QJsonObject failed = answer(command + " --json nothing");
            QVERIFY2(!failed["error"].toString().isEmpty(), qPrintable(command));
            QCOMPARE(failed["findings"].toArray(), QJsonArray());
        }
    }

    // Whoever meets a rule's name finds it in the documentation.
    void documentsEveryRule()
    {
        const QByteArray text = readFile(NORVALE_SOURCE "/docs/running-an-update-site.md");
        const QStringList lines = m_tool.run("lint --rules").output.split('\n', Qt::SkipEmptyParts);
        QVERIFY(lines.size() > 50);
        for (const QString& line : lines)
            QVERIFY2(text.contains("| `" + line.section(' ', 0, 0).toUtf8() + "` |"), qPrintable(line));
    }

    void endsWithTheCodeOf_data()
    {
        const Rows<QString, int, QString> row("words", "code", "said");
        row("help", "--help", 0, "Exit codes:");
        row("version", "--version", 0, "norvale ");
        row("nothing", "", 2, "a command is missing: norvale {");
        row("half a command", "--color never site", 2, "a command is missing: norvale site {");
        row("mistyped command", "site chek x", 2, "there is no command \"site chek\"; did you mean check?");
        row("mistyped option", "lint --jsn x", 2, "--jsn is no option; did you mean --json?");
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
        const auto [words, code, said] = cells<QString, int, QString>("words", "code", "said");
        const Ended ended = m_tool.run(words);
        QCOMPARE(ended.code, code);
        QVERIFY2((code == 0 ? ended.output : ended.reasons).contains(said), qPrintable(ended.reasons));
    }
};

QTEST_GUILESS_MAIN(tst_Lint)
#include "tst_Lint.moc"
