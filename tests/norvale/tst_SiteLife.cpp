#include "SiteFixture.h"

#include <NotHere.h>

class tst_SiteLife : public QObject, private SiteFixture
{
    Q_OBJECT

private slots:
    void init() { m_tool.begin(); }

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
        row("too many patches", "", "add site P.zip --feature F --feature-version 2.0.0 --deltas 10", 2,
            "--deltas takes 0 to 9");
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
        verifyRefusal(shell, arguments, code, said);
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
#ifndef Q_OS_WIN
        row("killed with patches", add + " --deltas 2", "kill", -1);
        row("patches on a full disk", add + " --deltas 2", "ENOSPC", 4);
#endif
        row("signed and killed", add + " --keys keys", "kill", -1);
        row("signed on a full disk", add + " --keys keys", "ENOSPC", 4);
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
        // Of a signed site what was published last may be unsigned until the call is repeated.
        const bool isSigned = call.contains("--keys");
        const QString unsignedSite = isSigned ? "site check site" : "site check --strict site";
        for (const char* line : {"site keys init site --keys keys", "site sign site --keys keys"})
            QVERIFY(!isSigned || m_tool.run(line).code == 0);
        shell("rm -r ?-?.??.???; cp -r site old");
        const QStringList words = wordsOf("site " + call);
        Variables faults = faultsBelow(m_tool.path("site"), "count");
        faults["FILE_FAULTS_REPORT"] = m_tool.path("report");
        const Tree before = offered();
        const QStringList entriesBefore = entries();
        QCOMPARE(m_tool.run(words, faults).code, 0);
        const Tree after = offered();
        const QStringList entriesAfter = entries();
        QCOMPARE(after.count("main/packages/B-3.00.000-from-1.00.000.delta") == 1, call.contains("--deltas"));
        const int changes = m_tool.read("report").count('\n');
        QVERIFY(changes > 10);
        for (int number = 1; number <= changes; number += EachCase) {
            shell("rm -rf site report && cp -r old site");
            faults["FILE_FAULTS"] = fault + ' ' + QString::number(number);
            const int ended = m_tool.run(words, faults).code;
            QVERIFY2(ended == code || ended == 0, qPrintable(QString("%1 at %2").arg(ended).arg(number)));
            for (const QString name : {"main/repository.xml", "main-beta/repository.xml"})
                QVERIFY(QByteArrayList({before.at(name), after.at(name)}).contains(m_tool.read("site/" + name)));
            // On a disk as full as this one a description that had been replaced cannot be put back.
            if (fault == "ENOSPC" && (ended == 0 || repository() == before.at("main/repository.xml")))
                QCOMPARE(entries(), ended == 0 ? entriesAfter : entriesBefore);
            const Ended checked = m_tool.run(unsignedSite);
            QVERIFY2(checked.code == 0, qPrintable(QString("%1 at %2").arg(checked.output).arg(number)));
            const Ended again = m_tool.run(words);
            QVERIFY(again.code == 0 || again.reasons.contains("has been retired on")); // it was done
            QVERIFY(offered() == after);
            QVERIFY(!isSigned || check().code == 0);
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

QTEST_GUILESS_MAIN(tst_SiteLife)
#include "tst_SiteLife.moc"
