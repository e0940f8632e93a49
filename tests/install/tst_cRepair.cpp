#include "InstallFixture.h"

#include "config/cUpdateMgr.h"
#include "plugins/cFileRecord.h"

#include <Norvale/IConfigMgr.h>
#include <Rows.h>
#include <Tree.h>

static const char Site[] =
    "<s><repository config='release' status='release' platform='x64' update='main' content='repo'/></s>";

/// Verifying and repairing an installation of the plugins A and B on a real disk, from a site that may have gone on.
class tst_cRepair : public QObject, private InstallFixture
{
    Q_OBJECT

private slots:
    void findsAndMends_data()
    {
        // What is done to the plugins folder, what is found, and what is repaired of it or, behind "!", is not.
        const Rows<QString, QString, QString> row("damage", "found", "repaired");
        const QString a = "A-1.00.000", last = ", B-1.00.000";
        row("nothing", "", "", "");
        row("a library cut short", "cut A-1.00.000/it.so", "changed A-1.00.000 it.so", a);
        row("a bit in a library", "flip A-1.00.000/it.so", "changed A-1.00.000 it.so", a);
        row("a manifest that is none", "cut A-1.00.000/Manifest.xml", "changed A-1.00.000 Manifest.xml", a);
        row("files gone", "remove A-1.00.000/it.so; remove B-1.00.000/doc/read.me",
            "missing A-1.00.000 it.so, missing B-1.00.000 doc/read.me", a + last);
        row("a folder gone", "remove A-1.00.000", "folder A-1.00.000 ", a);
        row("foreign files", "add A-1.00.000/doc/mine; add Mine-1.00.000/x",
            "foreign A-1.00.000 doc/mine, foreign  Mine-1.00.000", "");
        row("a foreign file beside a changed one", "add A-1.00.000/doc/mine; cut A-1.00.000/doc/read.me",
            "changed A-1.00.000 doc/read.me, foreign A-1.00.000 doc/mine", a);
        row("record damaged", "cut files.json", "changed  files.json, no record A-1.00.000 , no record B-1.00.000 ",
            "files.json");
        row("record gone", "remove files.json", "no record A-1.00.000 , no record B-1.00.000 ", "files.json");
        row("record and manifest gone", "remove files.json; remove A-1.00.000/Manifest.xml",
            "missing A-1.00.000 Manifest.xml, no record B-1.00.000 ", a + ", files.json");
        row("features file cut short", "cut features.xml; cut A-1.00.000/it.so",
            "changed  features.xml, changed A-1.00.000 it.so", "features.xml, " + a);
        row("features file well-formed, but another", "lose features.xml", "changed  features.xml", "features.xml");
        row("features file another, and no copy", "lose features.xml; remove features.last.xml; cut A-1.00.000/it.so",
            "changed  features.xml, changed A-1.00.000 it.so, folder -1.00.000 , foreign  B-1.00.000",
            "A-1.00.000!features.xml: ");
        row("features file gone", "remove features.xml", "missing  features.xml", "features.xml");
        row("name of the repository gone", "forget", "missing  ConfigMgr/RepositoryName", "ConfigMgr/RepositoryName");
        row("in the Bootstrap folder", "site none; bootstrap 1.0; cut A-1.00.000/it.so", "changed A-1.00.000 it.so", a);
        row("not to be had any more", "site 2.0; cut A-1.00.000/it.so", "changed A-1.00.000 it.so",
            "!A-1.00.000: the newest repository on the update locations, \"main\" 2.00.000, only has version 2.00.000");
        row("no hash", "site nohash; cut A-1.00.000/it.so", "changed A-1.00.000 it.so",
            "!A-1.00.000: the newest repository on the update locations, \"main\" 1.00.000, gives no hash for it");
        row("defective package", "site 1.0 !damaged; cut A-1.00.000/it.so", "changed A-1.00.000 it.so",
            "!A-1.00.000: its package cannot be had: file://");
        row("no site", "site none; cut A-1.00.000/it.so", "changed A-1.00.000 it.so",
            "!A-1.00.000: no repository of this installation can be had");
        row("a folder that is a link", "link A-1.00.000; cut A-1.00.000/it.so", "changed A-1.00.000 it.so",
            "!A-1.00.000: " + m_sandbox.path());
    }
    void findsAndMends()
    {
        const auto [damage, found, repaired] = cells<QString, QString, QString>("damage", "found", "repaired");
        beginInstalled();
        Tree before = treeOf(m_root + "/core/plugins");
        before.erase("files.json"); // in which the times may differ afterwards
        for (const QString& step : damage.split("; ", Qt::SkipEmptyParts))
            apply(step.section(' ', 0, 0), step.section(' ', 1));
        const cVerifyOutcome verified = m_manager->verify();
        QCOMPARE(texts(verified), found);
        QCOMPARE(verified.result == cVerifyOutcome::Faulty,
                 found.contains("missing") || found.contains("changed") || found.contains("folder "));
        const cRepairOutcome outcome = m_manager->repair();
        const bool isMended = !repaired.contains('!');
        QString text = outcome.repaired.join(", ");
        for (const cRepairOutcome::cUnrepaired& entry : outcome.unrepaired)
            text += '!' + entry.name + ": " + entry.reason;
        QCOMPARE(text.left(isMended ? -1 : repaired.size()), repaired);
        QCOMPARE(outcome.result, !isMended            ? cRepairOutcome::Incomplete
                                 : repaired.isEmpty() ? cRepairOutcome::NothingToDo
                                                      : cRepairOutcome::Complete);
        if (!isMended)
            return;
        QVERIFY(without(before, treeOf(m_root + "/core/plugins")).empty());
        QCOMPARE(m_manager->verify().result, cVerifyOutcome::Sound);
        QCOMPARE(QFile::exists(path("A-1.00.000/doc/mine")), damage.contains("mine")); // foreign files stay
        QCOMPARE(readFile(path("features.damaged.xml")).isEmpty(),
                 !damage.contains(QRegularExpression("(cut|lose) fea")));
        QVERIFY(!QFile::exists(path("unfinished.repair")));
        QCOMPARE(m_manager->repair().result, cRepairOutcome::NothingToDo);
    }
    void cannotTellWithoutAnyList()
    {
        beginInstalled();
        apply("cut", "features.xml");
        apply("cut", "features.last.xml");
        const QString text = path("features.xml") + ": line ";
        QCOMPARE(m_manager->verify().result, cVerifyOutcome::NotVerified);
        QVERIFY(m_manager->verify().reason.startsWith(text));
        QCOMPARE(m_manager->repair().result, cRepairOutcome::NotRepaired);
        for (const char* name : {"features.xml", "features.last.xml"})
            QVERIFY(QFile::remove(path(name)));
        QVERIFY(m_manager->verify().reason.startsWith("nothing is installed"));
    }
    void recordsWhatCommandLinesMake()
    {
        m_commands = "";
        beginInstalled();
        m_commands = " !silent";
        QCOMPARE(texts(m_manager->verify()), QString());
        apply("remove", "A-1.00.000/doc/made");
        QCOMPARE(m_manager->repair().repaired, QStringList("A-1.00.000"));
        QCOMPARE(m_manager->verify().result, cVerifyOutcome::Sound);
    }

private:
    QString path(const QString& name) const { return m_root + "/core/plugins/" + name; }

    void beginInstalled()
    {
        static int number = 0;
        m_updates.reset();
        begin(QString::number(++number));
        qputenv("JOURNAL", QFile::encodeName(path("A-1.00.000/doc/made"))); // of command lines that are not silent
        QVERIFY(IConfigMgr::setUpdateLocations({QUrl::fromLocalFile(m_root + "/site")}));
        m_updates.reset(new cUpdateMgr);
        writeFile(m_root + "/site/site.xml", Site);
        offer("site/repo", "1.0");
        QVERIFY(m_manager->installFromLocation(m_root + "/site/repo/repository.xml", false));
    }
    /// @p what is the version, and perhaps a fault of the plugin A.
    void offer(const QString& folder, const QString& what)
    {
        const QString version = what.section(' ', 0, 0), words = what.contains('!') ? what : what + m_commands;
        makeRepository(m_root + '/' + folder,
                       {"main " + version, QString("Core %1: A %2, B 1.0%3").arg(version, words, m_commands)});
    }
    void apply(const QString& what, const QString& name)
    {
        const QString file = path(name);
        const QByteArray bytes = readFile(file);
        if (what == "site")
            changeSite(name);
        else if (what == "bootstrap")
            offer("core/Bootstrap", name);
        else if (what == "forget")
            m_sandbox.removeMachineValue("ConfigMgr/RepositoryName");
        else if (what == "remove")
            QVERIFY(QFileInfo(file).isDir() ? QDir(file).removeRecursively() : QFile::remove(file));
        else if (what == "link")
            QVERIFY(QFile::rename(file, m_root + "/moved") && QFile::link(m_root + "/moved", file));
        else if (what == "add")
            writeFile(file, "mine");
        else if (what == "cut")
            writeFile(file, bytes.left(bytes.size() / 2));
        else if (what == "lose")
            writeFile(file, QByteArray(bytes).replace("name=\"B\"", "nome=\"B\""));
        else
            writeFile(file, bytes.left(20) + char(bytes.at(20) ^ 4) + bytes.mid(21));
    }
    void changeSite(const QString& what)
    {
        const QString description = m_root + "/site/repo/repository.xml";
        if (what == "none")
            QVERIFY(QFile::remove(m_root + "/site/site.xml"));
        else if (what == "nohash")
            writeFile(description,
                      QString(readFile(description)).remove(QRegularExpression("<hash.*</hash>")).toUtf8());
        else
            offer("site/repo", what);
    }
    static QString texts(const cVerifyOutcome& outcome)
    {
        const char* const kinds[] = {"missing", "changed", "foreign", "no record", "folder"};
        QStringList texts;
        for (const cFileFinding& finding : outcome.findings)
            texts << QString("%1 %2 %3").arg(kinds[finding.kind], finding.plugin, finding.file);
        return texts.join(", ");
    }

    QString m_commands = " !silent";
    QScopedPointer<cUpdateMgr> m_updates;
};

QTEST_GUILESS_MAIN(tst_cRepair)
#include "tst_cRepair.moc"
