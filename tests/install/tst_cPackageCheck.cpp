#include "Packages.h"

#include "install/cPackageCheck.h"

#include <Files.h>
#include <Platform.h>
#include <Rows.h>
#include <SettingsSandbox.h>

/// Packages of all kinds of faults, made by tests/support/packages.py, and what is found in each.
class tst_cPackageCheck : public QObject
{
    Q_OBJECT

private slots:
    void findsWhatIsWrong_data()
    {
        using Rule = cPackageFinding;
        const Rows<int, QString> row("rule", "text");
        row("right", None, "");
        row("descriptors", None, "");
        row("names", None, "");
        row("no-archive", Rule::Readable, "there is no end record");
        row("cut-off", Rule::Readable, "there is no end record");
        row("tail", Rule::Readable, "there is no end record");
        for (const char* name : {"zip64", "zip64-offset"})
            row(name, Rule::Readable, "it is a ZIP64 archive");
        row("disks", Rule::Readable, "it is a part of a multi-disk archive");
        row("more-records", Rule::Readable, "its end record counts 4 records, which end at byte ");
        row("no-manifest", Rule::Manifest, "it has no Manifest.xml");
        row("small-letters", Rule::Manifest, "it has no Manifest.xml");
        row("bad-xml", Rule::Manifest, "Manifest.xml: line 4, column ");
        row("other-name", Rule::Identity, "Manifest.xml: it is the manifest of Other-1.02.003, where A-1.02.003");
        row("other-version", Rule::Identity, "Manifest.xml: it is the manifest of A-9.09.009, where A-1.02.003");
        row("unsafe-name", Rule::Identity, "Manifest.xml: \"../up\" cannot name a folder");
        for (const char* name : {"absolute", "up", "up-inside", "backslash", "drive", "control", "device-name",
                                 "empty-step", "no-name", "long", "deep"})
            row(name, Rule::EntryName, "");
        row("case", Rule::EntryClash, "MANIFEST.xml: its name differs from \"Manifest.xml\" only in");
        row("folder-case", Rule::EntryClash, "Doc/y: its name differs from \"doc\" only in");
        row("twice", Rule::EntryClash, "doc/read.me: its name stands twice");
        row("file-and-folder", Rule::EntryClash, "doc: \"doc\" is a file and a folder");
        const QString library = Platform::library("it");
        row("folder-in-file", Rule::EntryClash, QString("%1/x: \"%1\" is a file and a folder").arg(library));
        row("link", Rule::EntryType, "l: it is neither a file nor a folder");
        row("device", Rule::EntryType, "d: it is neither a file nor a folder");
        row("full-folder", Rule::EntryType, "full/: it is a folder with contents");
        row("folder-by-mode", Rule::EntryType, "f: it is neither a file nor a folder");
        row("encrypted", Rule::EntryType, "e: it is encrypted");
        row("method", Rule::EntryType, "m: it is neither stored nor deflated");
        row("stored-sizes", Rule::EntryType, "s: it is neither stored nor deflated");
        for (const char* name : {"no-descriptor", "descriptor-size"})
            row(name, Rule::EntryRecord, "d: the sizes behind its data");
        row("local-name", Rule::EntryRecord, "n: its local header names \"other\"");
        row("local-size", Rule::EntryRecord, "n: its local header has another compressed size");
        row("overlap", Rule::EntryRecord, "in: it overlaps with \"outer\"");
        row("outside", Rule::EntryRecord, "o: its local header does not lie before the directory");
        row("too-long-data", Rule::EntryRecord, "o: its data do not lie before the directory");
        row("damaged", Rule::EntryContent, "doc/read.me: ");
        row("too-small", Rule::EntryContent, "t: the data inflate to more than 5 bytes");
        row("too-large", Rule::EntryContent, "t: it has 10 bytes, where its record states 50");
        row("bomb", Rule::Size, "bomb: it unpacks to more than 200 times its size");
        row("sum", Rule::Size, "it unpacks to 2");
    }
    void findsWhatIsWrong()
    {
        const auto [rule, text] = cells<int, QString>("rule", "text");
        const QString fault = QTest::currentDataTag();
        const QString path = make(fault);
        if (fault == "sum")
            m_sandbox.setMachineValue("InstallMgr/MaxUnpackedSize", 2399999);
        cPackageCheck check;
        m_sandbox.removeMachineValue("InstallMgr/MaxUnpackedSize");
        check.expect(cPluginId("A", cVersion("1.2.3")));
        QCOMPARE(check.checkFile(path), rule == None);
        if (rule == None)
            return;
        QCOMPARE(int(check.findings().first().rule), rule);
        const QString first = check.findings().first().toString();
        QVERIFY2(first.startsWith(text), qPrintable(first));
    }
    void holdsTheHash()
    {
        cPackageCheck check;
        check.expectHash("another");
        QVERIFY(!check.checkFile(make("right")));
        QCOMPARE(check.findings().first().rule, cPackageFinding::Hash);
        QVERIFY(!check.isUnread());
        QVERIFY(!check.checkFile(m_sandbox.path() + "/none"));
        QVERIFY(check.isUnread());
    }
    void survivesAnyDamage()
    {
        // Each byte of the directory and of the local headers in turn; what is found is as it may be, but found fast.
        const QByteArray bytes = readFile(make("right"));
        cPackageCheck check;
        int refused = 0;
        for (int i = 0; i < bytes.size(); ++i) {
            QByteArray damaged = bytes;
            damaged[i] = char(~damaged.at(i));
            refused += !check.check(damaged);
            refused += !check.check(bytes.left(i));
        }
        QVERIFY(refused > bytes.size());
    }

private:
    static constexpr int None = -1;

    QString make(const QString& fault) const
    {
        const QString path = m_sandbox.path() + "/package.zip";
        makePackage(path, "A", "1.2.3", fault);
        return path;
    }

    SettingsSandbox m_sandbox;
};

QTEST_GUILESS_MAIN(tst_cPackageCheck)
#include "tst_cPackageCheck.moc"
