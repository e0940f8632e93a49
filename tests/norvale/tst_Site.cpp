#include "HttpSite.h"
#include "MachineProgram.h"
#include "ToolFixture.h"

#include <QtCore/QLockFile>
#include <QtCore/QSet>

static const QString NeedsA = "<dependencies><dependency>A</dependency></dependencies>";

class tst_Site : public QObject
{
    Q_OBJECT

    ToolFixture m_tool;
    HttpSite m_server;

    Ended add(const QString& package, const QString& feature, const QString& version,
              const QString& more = QString()) const
    {
        return m_tool.run("site add site " + package + " --feature " + feature + " --feature-version " + version + " " +
                          more);
    }

    void makePackages()
    {
        m_tool.makePackage("A", "1.0.0");
        m_tool.makePackage("B", "1.0.0", NeedsA);
    }

    /// A site with the feature Core of plugin A, the feature F of plugin B, which depends on A, and a runtime.
    void makeSite()
    {
        makePackages();
        m_tool.write("setup.exe", "setup program");
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0").code, 0);
        const QString more = "--depends Core --display-name en-us=Eff --runtime setup.exe --runtime-version 2.0.0";
        QCOMPARE(add("B-1.00.000.zip", "F", "1.0.0", more).code, 0);
    }

    /// Beside it the status beta, with the version 2.0.0 of F after 1.0.0.
    void makeSiteWithBeta()
    {
        makeSite();
        m_tool.makePackage("B", "2.0.0", NeedsA);
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0", "--status beta").code, 0);
        QCOMPARE(add("B-1.00.000.zip", "F", "1.0.0", "--status beta --depends Core --display-name en-us=Eff").code, 0);
        QCOMPARE(add("B-2.00.000.zip", "F", "2.0.0", "--status beta").code, 0);
    }

    /// The site's files without the one that holds times.
    QMap<QString, QByteArray> offered() const
    {
        QMap<QString, QByteArray> files = m_tool.tree("site");
        files.remove("site/.retired.xml");
        return files;
    }

    /// Files and folders of the site.
    QStringList entries() const
    {
        QStringList names;
        for (QDirIterator it(m_tool.path("site"), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
             it.hasNext();)
            names.append(it.next());
        // On Windows a lock into which its owner's name could not be written stays. The next run takes it.
        names.removeOne(m_tool.path("site/.norvale.lock"));
        names.sort();
        return names;
    }

    static QJsonObject jsonOf(const Ended& ended) { return QJsonDocument::fromJson(ended.output.toUtf8()).object(); }

    void shell(const QString& script, const QString& folder = QString()) const
    {
        QCOMPARE(MachineProgram::execute("sh", {"-ec", script}, m_tool.path(folder)), 0);
    }

    Ended check(const QString& site = "site") const { return m_tool.run("site check --strict " + site); }
    QByteArray repository() const { return m_tool.read("site/main/repository.xml"); }

private slots:
    void initTestCase() { QVERIFY(m_server.isRunning()); }
    void init() { m_tool.begin(); }

    void isWholeSeenFromEverywhere()
    {
        makeSite();
        QCOMPARE(check(QDir::toNativeSeparators("site/site.xml")).code, 0);
        const Ended lint = m_tool.run("lint --strict site");
        QCOMPARE(lint.code, 0);
        QVERIFY(lint.reasons.contains("verified by: norvale site check site\n"));

        const QMap<QString, QByteArray> files = m_tool.tree("site");
        for (auto it = files.begin(); it != files.end(); ++it)
            QVERIFY(m_server.write(it.key(), it.value()));
        QCOMPARE(check(m_server.url("site").toString()).code, 0);
        const QStringList requests = m_server.takeRequests();
        QCOMPARE(requests.size(), files.size()); // each once
        QCOMPARE(QSet<QString>(requests.begin(), requests.end()).size(), files.size());

        QCOMPARE(check(m_server.url("site", "~status=500").toString()).code, 5);
        QCOMPARE(check(m_server.url("nothing").toString()).code, 5);
    }

    void keepsWhatStoodThere()
    {
        makeSite();
        const QMap<QString, QByteArray> before = m_tool.tree("site");
        QVERIFY(add("A-1.00.000.zip", "Core", "1.0.0").output.contains("\nnothing is new in"));
        QCOMPARE(m_tool.tree("site"), before);

        m_tool.makePackage("B", "2.0.0", NeedsA);
        QCOMPARE(add("B-2.00.000.zip", "F", "2.0.0", "--core-version 1.2.3").code, 0);
        const QByteArray after = repository();
        QVERIFY(after.contains("name=\"main\" version=\"1.00.002\" core_version=\"1.02.003\""));
        QVERIFY(after.contains("<feature name=\"Core\" version=\"1.00.000\""));
        QVERIFY(after.contains(">Eff<"));
        QVERIFY(after.contains("<feature name=\"Core\"/>"));
        QVERIFY(after.contains("setup.exe"));
        QVERIFY(!after.contains("B-1.00.000"));
        QVERIFY(m_tool.tree("site").contains("site/main/packages/B-1.00.000.zip"));

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
        const QString pack = "sed -i s/createPlugin/otherEntry/ A-1.00.000/Manifest.xml"; // and packed again
        row("an older feature", "", "A-1.00.000.zip --feature Core --feature-version 0.9.0", "newer than 0.09.000");
        row("a version with other plugins", "", "B-1.00.000.zip --feature Core --feature-version 1.0.0", "new version");
        row("a package with other bytes", pack, core, "published with other contents");
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
        this->shell(shell);
        if (shell.endsWith("Manifest.xml"))
            QCOMPARE(m_tool.run("pack A-1.00.000").code, 0);
        const QMap<QString, QByteArray> before = m_tool.tree("site");
        const Ended ended = m_tool.run("site add site " + arguments);
        QCOMPARE(ended.code, 1);
        QVERIFY2(ended.reasons.contains(said), qPrintable(ended.reasons));
        QCOMPARE(m_tool.tree("site"), before);
    }

    void tellsItsFiles()
    {
        makePackages();
        const Ended first = add("A-1.00.000.zip", "Core", "1.0.0");
        QVERIFY(first.output.startsWith("new: site/main/packages/A-1.00.000.zip\nnew: site/main/repository.xml\n"
                                        "new: site/site.xml\nfeature Core: none -> 1.00.000\npublished in"));
        const Ended again = add("A-1.00.000.zip", "Core", "1.1.0", "--json");
        const QJsonObject told = jsonOf(again);
        QCOMPARE(told["files"].toArray().at(0).toObject()["state"].toString(), QString("already there"));
        QCOMPARE(told["features"].toArray().at(0).toObject()["before"].toString(), QString("1.00.000"));
        QCOMPARE(told["version"].toString(), QString("1.00.001"));
        const QJsonObject refused = jsonOf(add("A-1.00.000.zip", "Core", "0.1.0", "--json"));
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

    // A version goes from one status to the next, is withdrawn, and its packages go when their time is over.
    void promotesAndRetires()
    {
        makeSiteWithBeta();
        const QString before = m_tool.run("site list site").output;
        QVERIFY(before.contains(QRegularExpression("main +beta +1.00.002 +F +2.00.000 +offered +B-2.00.000\n")));
        QCOMPARE(m_tool.run("site promote site --from beta F").code, 0);
        QVERIFY(repository().contains("name=\"main\" version=\"1.00.002\""));
        QVERIFY(repository().contains("<feature name=\"F\" version=\"2.00.000\""));
        QVERIFY(repository().contains("setup.exe"));
        QCOMPARE(check().code, 0);

        QCOMPARE(m_tool.run("site retire site F-2.0.0").code, 0);
        QVERIFY(repository().contains("name=\"main\" version=\"1.00.003\""));
        QVERIFY(repository().contains("<feature name=\"F\" version=\"1.00.000\""));
        QCOMPARE(check().code, 0);
        QVERIFY(
            m_tool.run("site list site").output.contains(QRegularExpression("F +2.00.000 +retired, kept until 20")));
        QCOMPARE(m_tool.run("site list site --json").code, 0);
        for (const char* words : {"site promote site --from beta", "site retire site F-2.0.0",
                                  "site add site B-2.00.000.zip --feature F --feature-version 2.0.0"})
            QVERIFY(m_tool.run(words).reasons.contains("retired on 20"));

        const QString package = m_tool.path("site/main/packages/B-2.00.000.zip");
        QCOMPARE(m_tool.run("site retire site --expired").code, 0);
        QVERIFY(QFile::exists(package));
        shell("sed -i 's/until=\"[0-9]*/until=\"2001/; s,</retired>,"
              "<feature name=\"X\" version=\"1.0\" until=\"2001-01-01T00:00:00Z\"><plugin name=\"X\" "
              "file=\"main/packages/A-1.00.000.zip\"/><plugin name=\"Y\" file=\"../setup.exe\"/></feature>&,'"
              " site/.retired.xml");
        QVERIFY(m_tool.run("site retire site --expired").output.startsWith("removed: site/main/packages/B-2.00.000"));
        QVERIFY(!QFile::exists(package));
        QVERIFY(QFile::exists(m_tool.path("setup.exe")));
        QCOMPARE(check().code, 0);
        QVERIFY(m_tool.run("site retire site F-2.0.0").reasons.contains("retired on 20"));

        QCOMPARE(m_tool.run("site retire site F --keep 0").code, 0);
        QVERIFY(repository().contains("<feature name=\"F\" version=\"2.00.001\""));
        QVERIFY(!repository().contains("name=\"B\""));
        QVERIFY(!QFile::exists(m_tool.path("site/main/packages/B-1.00.000.zip")));
        QCOMPARE(check().code, 0);
    }

    void refusesToPromoteOrRetire_data()
    {
        const Rows<QString, QString, int, QString> row("shell", "arguments", "code", "said");
        row("no such status", "", "promote site --from gamma", 1, "no repository main (gamma)");
        row("a status that is the same folder", "sed -i 's/main-beta/main/' site/site.xml", "promote site --from beta",
            1, "are one repository");
        row("no such feature", "", "promote site --from beta G", 1, "beta) has no feature \"G\"");
        row("an older feature", "", "promote site --from release --to beta F", 1, "newer than 1.00.000: name");
        row("without what it needs", "", "promote site --from beta --to new F", 1, "feature-unknown-dependency");
        row("a package that is gone", "rm site/main-beta/packages/B*", "promote site --from beta", 1,
            "package of B-2.00.000 is not in");
        row("a changed package", "cp B-1.00.000.zip site/main-beta/packages/B-2.00.000.zip", "promote site --from beta",
            1, "package-hash");
        row("from nowhere", "", "promote site", 2, "--from says");
        row("no site", "", "promote nothing --from beta", 3, "there is no nothing/site.xml");
        row("the only version", "", "retire site F-1.0.0", 1, "no version before it");
        row("the core", "", "retire site Core", 1, "no suite starts without it");
        row("what another one needs", "sed -i 's/\"Core\"/\"K\"/' site/main/repository.xml", "retire site K", 1,
            "\"F\" depend on \"K\"");
        row("what is not there", "", "retire site G-1.0.0", 1, "there is Core-1.00.000, F-1.00.000");
        row("nothing", "", "retire site", 2, "say what is to be retired");
        row("for ever", "", "retire site F --keep x", 2, "--keep takes");
        row("a damaged list", "echo '<' >site/.retired.xml", "retire site --expired", 1, ".retired.xml, line");
        row("a damaged list of earlier ones", "echo '<' >site/main/.earlier.xml", "retire site F-1.0.0", 1,
            ".earlier.xml, line");
    }
    void refusesToPromoteOrRetire()
    {
        const auto [shell, arguments, code, said] =
            cells<QString, QString, int, QString>("shell", "arguments", "code", "said");
        makeSiteWithBeta();
        this->shell(shell);
        const QMap<QString, QByteArray> before = m_tool.tree("site");
        const Ended ended = m_tool.run("site " + arguments + " --json");
        QCOMPARE(ended.code, code);
        QVERIFY2((ended.reasons + ended.output).contains(said), qPrintable(ended.reasons));
        QVERIFY(jsonOf(ended).contains("findings"));
        QCOMPARE(m_tool.tree("site"), before);
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
        row("a page cut off without a length", "~unsized/~cut=300", "package-");
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
        const Ended ended = check();
        QCOMPARE(ended.code, said.isEmpty() ? 0 : 1);
        QVERIFY2(ended.output.contains("[" + said) || said.isEmpty(), qPrintable(ended.output));
    }

#ifdef FILE_FAULTS
    // Whenever a run ends, clients meet the old state or the new one, and the same call completes it. One that fails
    // leaves nothing behind.
    void isWholeHoweverARunEnds_data()
    {
        const Rows<QString, QString, int> row("words", "fault", "code");
        const QString add = "add site B-3.00.000.zip --feature F --feature-version 3.0.0";
        row("killed before a change", add, "kill", -1);
        row("killed within a change", add, "tear", -1);
        row("disk full in a new repository", add + " --depends= --repository new/deep", "ENOSPC", 4);
        row("disk read only", add, "EROFS", 4);
        row("promotion killed", "promote site --from beta", "kill", -1);
        row("promotion on a full disk", "promote site --from beta --to new", "ENOSPC", 4);
        row("retirement killed", "retire site F-2.0.0 --status beta", "kill", -1);
        row("retirement on a full disk", "retire site F-2.0.0 --status beta", "ENOSPC", 4);
    }
    void isWholeHoweverARunEnds()
    {
        const auto [call, fault, code] = cells<QString, QString, int>("words", "fault", "code");
        makeSiteWithBeta();
        m_tool.makePackage("B", "3.0.0", call.contains("new/deep") ? "" : NeedsA);
        shell("rm -r ?-?.??.???; cp -r site old");
        const QStringList words = wordsOf("site " + call);
        Variables faults = faultsBelow(m_tool.path("site"), "count");
        faults["FILE_FAULTS_REPORT"] = m_tool.path("report");
        const QMap<QString, QByteArray> before = offered();
        const QStringList entriesBefore = entries();
        QCOMPARE(m_tool.run(words, faults).code, 0);
        const QMap<QString, QByteArray> after = offered();
        const QStringList entriesAfter = entries();
        const int changes = m_tool.read("report").count('\n');
        QVERIFY(changes > 10);
        for (int number = 1; number <= changes; ++number) {
            shell("rm -rf site report && cp -r old site");
            faults["FILE_FAULTS"] = fault + ' ' + QString::number(number);
            const int ended = m_tool.run(words, faults).code;
            QVERIFY2(ended == code || ended == 0, qPrintable(QString("%1 at %2").arg(ended).arg(number)));
            for (const QString& name : {QString("site/main/repository.xml"), QString("site/main-beta/repository.xml")})
                QVERIFY(m_tool.read(name) == before[name] || m_tool.read(name) == after[name]);
            if (fault == "ENOSPC")
                QCOMPARE(entries(), ended == 0 ? entriesAfter : entriesBefore);
            QCOMPARE(check().code, 0);
            const Ended again = m_tool.run(words);
            QVERIFY(again.code == 0 || again.reasons.contains("has been retired on")); // it was done
            QCOMPARE(offered(), after);
        }
    }
#endif

    void leavesASiteToWhoeverChangesIt()
    {
        makeSite();
        QLockFile lock(m_tool.path("site/.norvale.lock"));
        QVERIFY(lock.tryLock(0));
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0").code, 7);
    }
};

QTEST_GUILESS_MAIN(tst_Site)
#include "tst_Site.moc"
