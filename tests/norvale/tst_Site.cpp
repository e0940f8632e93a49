#include "SiteFixture.h"

class tst_Site : public QObject, private SiteFixture
{
    Q_OBJECT

    HttpSite m_server;

private slots:
    void init() { m_tool.begin(); }

    void isWholeSeenFromEverywhere()
    {
        makeSite();
        QCOMPARE(check(QDir::toNativeSeparators("site/site.xml")).code, 0);
        const Ended lint = m_tool.run("lint --strict site");
        QCOMPARE(lint.code, 0);
        QVERIFY(lint.reasons.contains("verified by: norvale site check site\n"));

        QCOMPARE(check(uploadTo(m_server)).code, 0);
        QStringList requests = m_server.takeRequests();
        QCOMPARE(requests.size(), int(offered().size()) + 1); // each once, and whether the site is signed
        QCOMPARE(requests.removeDuplicates(), 0);

        QCOMPARE(check(m_server.url("", "~status=500").toString()).code, 5);
        QCOMPARE(check(m_server.url("nothing").toString()).code, 5);
    }

    void keepsWhatStoodThere()
    {
        makeSite();
        const Tree before = m_tool.tree("site");
        QVERIFY(add("A-1.00.000.zip", "Core", "1.0.0").output.contains("\nnothing is new in"));
        QVERIFY(m_tool.tree("site") == before);

        m_tool.makePackage("B", "2.0.0", NeedsA);
        QCOMPARE(add("B-2.00.000.zip", "F", "2.0.0", "--core-version 1.2.3").code, 0);
        const QByteArray after = repository();
        QVERIFY(after.contains("name=\"main\" version=\"1.00.002\" core_version=\"1.02.003\""));
        QVERIFY(after.contains("<feature name=\"Core\" version=\"1.00.000\""));
        QVERIFY(after.contains(">Eff<"));
        QVERIFY(after.contains("<feature name=\"Core\"/>"));
        QVERIFY(after.contains("setup.exe"));
        QVERIFY(!after.contains("B-1.00.000"));
        QVERIFY(offered().count("main/packages/B-1.00.000.zip") == 1);

        const QString other = "--repository other --repository-version 7.0 --status beta";
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0", other).code, 0);
        QCOMPARE(repository(), after);
        QVERIFY(m_tool.read("site/other-beta/repository.xml").contains("version=\"7.00.000\""));
        QCOMPARE(check().code, 0);
    }

    void changesFeaturesThatShareAPluginTogether()
    {
        makeSite();
        QCOMPARE(add("A-1.00.000.zip", "G", "1.0.0").code, 0);
        m_tool.makePackage("A", "2.0.0");
        const Ended alone = add("A-2.00.000.zip", "Core", "2.0.0");
        QCOMPARE(alone.code, 1);
        QVERIFY(alone.reasons.contains("[plugin-two-versions]"));
        const Ended both = add("A-2.00.000.zip", "Core", "2.0.0", "--shared G=2.0.0");
        QVERIFY2(both.code == 0, qPrintable(both.reasons));
        QVERIFY(repository().contains("<feature name=\"G\" version=\"2.00.000\""));
        QVERIFY(!repository().contains("A-1.00"));
    }

    void saysWhatIsOutOfReach()
    {
        makePackages();
        QCOMPARE(add("A-1.00.000.zip", "K", "1.0.0").code, 0);
        const Ended ended = add("B-1.00.000.zip", "F", "1.0.0");
        QCOMPARE(ended.code, 0);
        QVERIFY(ended.reasons.contains("[suite-dependency-outside]"));
        QCOMPARE(add("B-1.00.000.zip", "F", "1.0.1", "--depends K").code, 0);
        QCOMPARE(check().code, 0);
    }

    void saysWhatIsBuiltWithTwoQts()
    {
        for (const auto& [name, qt] : {std::pair("A", 6), {"B", 5}}) {
            const QString folder =
                m_tool.makePlugin(name, "1.0.0", "", {{QString(name) + ".so", ToolFixture::library(qt)}});
            QCOMPARE(m_tool.run({"pack", folder}).code, 0);
            const Ended ended = add(folder + ".zip", QString("F") + name, "1.0.0");
            QCOMPARE(ended.code, 0);
            QCOMPARE(ended.reasons.contains("[suite-qt-mixed]"), qt == 5);
        }
        QVERIFY(
            check().output.contains("A-1.00.000 is built with Qt 6, and B-1.00.000 with Qt 5: no suite loads both"));
    }

    // Under --replace: who has read the old description still finds what it names.
    void givesReplacedBytesAPlaceOfTheirOwn()
    {
        makeSite();
        const QByteArray old = m_tool.read("site/main/packages/A-1.00.000.zip");
        m_tool.makePackage("A", "1.0.0", "<services><service>S</service></services>");
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0", "--replace").code, 0);
        QCOMPARE(m_tool.read("site/main/packages/A-1.00.000.zip"), old);
        QCOMPARE(check().code, 0);
    }

    void refusesToPublish_data()
    {
        const Rows<QString, QString, QString> row("shell", "arguments", "said");
        const QString core = "A-1.00.000.zip --feature Core --feature-version 1.1.0 ";
        row("an older feature", "", "A-1.00.000.zip --feature Core --feature-version 0.9.0", "newer than 0.09.000");
        row("a version with other plugins", "", "B-1.00.000.zip --feature Core --feature-version 1.0.0", "new version");
        row("no package", "echo x >A-1.00.000.zip", core, "[package-readable]");
        row("a plugin twice", "cp A-1.00.000.zip again.zip", "again.zip " + core, "two packages of \"A\"");
        row("a feature that is not there", "", core + "--depends Z", "[feature-unknown-dependency]");
        row("a plugin that is not there", "", "B-1.00.000.zip --feature Core --feature-version 1.1.0",
            "[suite-dependency-missing]");
        row("sharing with nobody", "", core + "--shared Z=1.0.0", "no feature \"Z\"");
        row("an older repository", "", core + "--repository-version 0.1.0", "newer than 0.01.000");
        row("an older runtime", "", "--runtime setup.exe --runtime-version 1.0.0", "newer than 1.00.000");
        row("a runtime with other bytes", "echo x >setup.exe", "--runtime setup.exe --runtime-version 2.0.0",
            "other contents");
        row("a folder above", "", core + "--repository new --content ../new", "--content");
        row("a repository of a path", "", core + "--repository ../new", "--content");
        row("another folder", "", core + "--content new", "lies in \"main\"");
        row("a damaged site.xml", "echo '<' >>site/site.xml", core, "site.xml, line");
        row("a damaged repository", "echo '<' >>site/main/repository.xml", core, "repository.xml, line");
        row("one of two repositories", "sed -i 's,<site>,<site><repository update=\"n\"/>,' site/site.xml", core,
            "--repository");
    }
    void refusesToPublish()
    {
        const auto [shell, arguments, said] = cells<QString, QString, QString>("shell", "arguments", "said");
        makeSite();
        verifyRefusal(shell, "add site " + arguments, 1, said);
    }

    void tellsItsFiles()
    {
        makePackages();
        const Ended first = add("A-1.00.000.zip", "Core", "1.0.0");
        QVERIFY(first.output.startsWith("new: site/main/packages/A-1.00.000.zip\nnew: site/main/repository.xml\n"
                                        "new: site/site.xml\nfeature Core: none -> 1.00.000\npublished in"));
        const QJsonObject told = ToolFixture::jsonOf(add("A-1.00.000.zip", "Core", "1.1.0", "--json"));
        QCOMPARE(told["files"][0]["state"].toString(), QString("already there"));
        QCOMPARE(told["features"][0]["before"].toString(), QString("1.00.000"));
        QCOMPARE(told["version"].toString(), QString("1.00.001"));
        const QJsonObject refused = ToolFixture::jsonOf(add("A-1.00.000.zip", "Core", "0.1.0", "--json"));
        QVERIFY(refused["error"].toString().contains("newer than 0.01.000"));
        QVERIFY(!refused.contains("files"));
        QCOMPARE(m_tool.run("site add made/deep B-1.00.000.zip --feature F --feature-version 1.0").code, 1);
        QVERIFY(!QFile::exists(m_tool.path("made")));
    }

    void keepsNotes()
    {
        makePackages();
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0", "--note en-us=one").code, 0);
        m_tool.write("notes.txt", "zwei\n- Zeilen\n");
        for (int version = 1; version < 12; ++version) {
            const QString number = QString("1.%1.0").arg(version);
            QCOMPARE(add("A-1.00.000.zip", "Core", number, "--note en-us=" + number + " --notes de-de=notes.txt").code,
                     0);
        }
        QCOMPARE(repository().count("lang=\"en-us\""), 10);
        QVERIFY(repository().contains("<notes version=\"1.11.000\" lang=\"de-de\">zwei&#10;- Zeilen</notes>"));
        QVERIFY(!repository().contains("\"1.01.000\""));
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.11.0", "--note en-us=mended").code, 0);
        QVERIFY(repository().contains(">mended</notes>"));
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.11.0", "--notes absent.txt").code, 3);
        QCOMPARE(check().code, 0);
    }

    // A change is a shell's, or that of a server on the way to the package of A.
    void finds_data()
    {
        const Rows<QString, QString> row("change", "said");
        row("a package that is gone", "rm main/packages/A-1.00.000.zip", "source-unreachable");
        row("one dead source of two", "sed -i 's,<source>packages/A,<source>x.zip</source>&,' main/repository.xml",
            "source-dead");
        row("another size", "sed -i 's/size=\"/size=\"1/' main/repository.xml", "source-size");
        row("a changed package", "echo >>main/packages/A-1.00.000.zip", "package-hash");
        row("another package", "cp main/packages/B-1.00.000.zip main/packages/A-1.00.000.zip", "package-identity");
        row("no archive", "echo >main/packages/A-1.00.000.zip", "package-readable");
        row("a changed runtime", "echo >>main/runtime/2.00.000/setup.exe", "source-hash");
        row("a runtime that is gone", "rm -r main/runtime", "source-unreachable");
        row("a repository that is gone", "rm main/repository.xml", "site-no-repository");
        row("a damaged repository", "echo '<' >>main/repository.xml", "xml-malformed");
        row("another name", "sed -i 's/name=\"main\"/name=\"m\"/' main/repository.xml", "site-other-name");
        row("a damaged site.xml", "echo '<' >>site.xml", "xml-malformed");
        row("a source that is a pipe", "rm main/packages/A-1.00.000.zip; mkfifo main/packages/A-1.00.000.zip",
            "source-unreachable");
        row("what a redirection leads to", "~redirect=", "");
        row("a lost page", "~status=404", "source-unreachable");
        row("a page cut off without a length", "~unsized/~cut=+281", "package-");
        row("more than there is", "~fill=1", "source-size");
    }
    void finds()
    {
        const auto [change, said] = cells<QString, QString>("change", "said");
        makeSite();
        if (change.startsWith('~')) {
            QVERIFY(m_server.write("A.zip", m_tool.read("site/main/packages/A-1.00.000.zip")));
            const QByteArray url = m_server.url("A.zip", change).toEncoded();
            m_tool.write("site/main/repository.xml", repository().replace("packages/A-1.00.000.zip", url));
        } else {
            shell(change, "site");
        }
        verifyCheck(said.isEmpty() ? 0 : 1, said.isEmpty() ? "" : "[" + said);
    }
};

QTEST_GUILESS_MAIN(tst_Site)
#include "tst_Site.moc"
