#include "SiteFixture.h"

// What is signed is verified by Python's cryptography, and keys are openssl's where they can be.
class tst_SiteSigning : public QObject, private SiteFixture
{
    Q_OBJECT

    HttpSite m_server;

    Ended run(const QString& line) const { return m_tool.run(line); }

    /// What an independent verifier says of the site: "ROOT TIMESTAMP SNAPSHOT TARGETS", the versions, and the targets.
    QString verified() const
    {
        QProcess python;
        python.setWorkingDirectory(m_tool.path());
        python.setProcessChannelMode(QProcess::MergedChannels);
        MachineProgram::start(python, "python3", {NORVALE_SOURCE "/tests/norvale/check_tuf.py", "site"});
        exitCodeOf(python);
        return QString::fromUtf8(python.readAll()).trimmed();
    }
    QString versions() const { return verified().section(' ', 0, 3); }

    /// A signed site with Core, F and a runtime.
    void makeSignedSite(const QString& options = QString())
    {
        QCOMPARE(run("site keys init site --keys keys " + options).code, 0);
        makeSite();
        QCOMPARE(run("site sign site --keys keys").code, 0);
    }

    /// Publishes the next version of Core.
    Ended addNext(const QString& more = QString()) const { return add("A-1.00.000.zip", "Core", "1.1.0", more); }

private slots:
    void init() { m_tool.begin(); }

    void signsWhatIsPublished()
    {
        makeSignedSite("--threshold root=2:3");
        const QString targets = " main/packages/A-1.00.000.zip main/packages/B-1.00.000.zip main/repository.xml"
                                " main/runtime/2.00.000/setup.exe site.xml";
        QCOMPARE(verified(), "1 1 1 1" + targets);
#ifdef Q_OS_UNIX
        for (const QString& name : {QString("keys/root-3.pem"), QString("keys/timestamp-1.pem"), QString("keys")})
            QCOMPARE(int(QFile::permissions(m_tool.path(name)) & 0x77), 0);
#endif
        shell("openssl pkey -in keys/root-1.pem -noout");

        const Tree before = m_tool.tree("site");
        QVERIFY(run("site sign site --keys keys").output.startsWith("nothing is to be signed"));
        QVERIFY(m_tool.tree("site") == before);

        const QByteArray oldCopy =
            "main/" + QCryptographicHash::hash(repository(), QCryptographicHash::Sha256).toHex() + ".repository.xml";
        QVERIFY(addNext().reasons.contains("[site-unsigned]"));
        QCOMPARE(versions(), QString("1 1 1 1")); // who has pinned it goes on with the old state
        QCOMPARE(run("site check site").code, 0);
        QVERIFY(check().output.contains("[site-unsigned]"));
        QCOMPARE(run("site sign site --keys keys").code, 0);
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.2.0", "--keys keys").code, 0); // in one step
        QCOMPARE(verified(), "1 3 3 3" + targets);
        QCOMPARE(check().code, 0);
        QVERIFY(!entries().contains(oldCopy));
        QCOMPARE(entries().filter(".repository.xml").size(), 2);
        QCOMPARE(run("site refresh site --keys keys").code, 0);
        QCOMPARE(versions(), QString("1 4 3 3"));

        QCOMPARE(check(uploadTo(m_server)).code, 0);
    }

    // Root and targets keys lie on another machine, two people have those of targets.
    void signsElsewhere()
    {
        makeSignedSite("--threshold targets=2:2");
        shell("mkdir one two; mv keys/root-1.pem keys/targets-1.pem one; mv keys/targets-2.pem two");
        QVERIFY(addNext("--keys keys").reasons.contains("signed by 0 of 2 keys"));
        QCOMPARE(run("site sign site --keys keys").code, 9);
        shell("mkdir copy; cp -r site/tuf copy");
        const Ended first = run("site sign copy --role targets --keys one");
        QCOMPARE(first.code, 9);
        QVERIFY(first.output.contains("targets 2, changed: main/repository.xml"));
        QVERIFY(run("site keys show copy").output.contains("staged, signed by 1 of 2 keys"));
        QCOMPARE(run("site sign copy --keys two").code, 0);
        QCOMPARE(versions(), QString("1 1 1 1"));
        shell("cp copy/tuf/staged/* site/tuf/staged");
        QCOMPARE(run("site sign site --keys keys").code, 0);
        QCOMPARE(versions(), QString("1 2 2 2"));
        QCOMPARE(check().code, 0);
        QVERIFY(!QDir(m_tool.path("site/tuf/staged")).exists());

        // The key of the timestamp is replaced where the root's key is.
        QCOMPARE(run("site keys rotate copy --role timestamp --keys one").code, 0);
        shell("mkdir -p site/tuf/staged; cp copy/tuf/staged/root.json site/tuf/staged; mv one/timestamp-1.pem "
              "keys/new.pem");
        QCOMPARE(run("site sign site --keys keys").code, 0);
        QCOMPARE(versions(), QString("2 3 2 2"));
        QCOMPARE(check().code, 0);
    }

    void rotates_data()
    {
        const Rows<QString, QString> row("role", "versions");
        row("root", "root", "2 1 1 1");
        row("targets", "targets", "2 2 2 2");
        row("snapshot", "snapshot", "2 2 2 1");
        row("timestamp", "timestamp", "2 2 1 1");
    }
    void rotates()
    {
        const auto [role, versions] = cells<QString, QString>("role", "versions");
        makeSignedSite();
        QCOMPARE(run("site keys rotate site --keys keys --role " + role).code, 0);
        QCOMPARE(this->versions(), versions);
        QCOMPARE(check().code, 0);
        QFile::remove(m_tool.path("keys/" + role + "-1.pem"));
        QCOMPARE(addNext("--keys keys").code, 0); // without the old one
        QCOMPARE(check().code, 0);
        const QJsonObject shown = ToolFixture::jsonOf(run("site keys show site --keys keys --json"));
        for (const QJsonValue& known : shown["roles"].toArray())
            QCOMPARE(known["keys"][0]["here"].toBool(), true);
    }

    void takesKeysOfOthers()
    {
        shell("openssl ecparam -name prime256v1 -genkey -noout -out ec.pem; openssl ec -in ec.pem -pubout -out "
              "ec.pub.pem;"
              "openssl genpkey -algorithm ed25519 -out root.pem");
        QStringList words =
            wordsOf("site keys init site --keys keys --key root=root.pem --public targets=ec.pub.pem --key");
        QCOMPARE(m_tool.run(words + QStringList{"targets=command:openssl dgst -sha256 -sign ec.pem"}).code, 0);
        const Variables path{{"PATH", MachineProgram::pathWith("openssl", m_tool.path("bin"))}};
        QCOMPARE(m_tool.read("keys/root-1.pem").size(), m_tool.read("root.pem").size());
        makeSite();
        QCOMPARE(m_tool.run(wordsOf("site sign site --keys keys"), path).code, 0);
        QCOMPARE(versions(), QString("1 1 1 1"));
        QCOMPARE(check().code, 0);
        for (const QByteArray& command : {QByteArray("false"), QByteArray("echo 00"), QByteArray("no-such-program")}) {
            m_tool.write("keys/targets-1.command", command);
            verifyRefusal("", "add site A-1.00.000.zip --feature Core --feature-version 1.1.0 --keys keys", 1,
                          '"' + command + '"');
        }
    }

    void refuses_data()
    {
        const Rows<QString, QString, int, QString> row("shell", "words", "code", "said");
        row("keys in the site", "", "keys init new --keys new/keys", 3, "is published");
        row("keys that are there", "", "keys init site --keys keys", 1, "has its keys");
        row("no keys", "", "keys init new", 2, "--keys says");
        row("no threshold", "", "keys init new --keys k --threshold root=3:2", 2, "M of N");
        row("no role", "", "keys init new --keys k --expires chief=3", 2, "the roles are root");
        row("a command without a key", "", "keys init new --keys k --key root=command:x", 2, "--public root=FILE");
        row("no key", "echo >k.pem", "keys init new --keys k --key root=k.pem", 1, "k.pem: ");
        row("an encrypted key", "openssl genpkey -algorithm ed25519 -aes256 -pass pass:x -out keys/root-1.pem",
            "sign site --keys keys", 3, "root-1.pem: ");
        row("no such key", "", "keys rotate site --role root --old 0z --keys keys", 2, "not the begin of one key");
        row("a site without a root", "rm -r site/tuf", "sign site --keys keys", 1, "has no root");
        row("a root of others", "sed -i 's/threshold\":1/threshold\":2/' site/tuf/1.root.json", "sign site --keys keys",
            1, "1.root.json: ");
        row("a package elsewhere", "sed -i 's,<source>packages/A,<source>http://x/A,' site/main/repository.xml",
            "sign site --keys keys", 1, "lies on another server");
        row("a package of another place", "sed -i 's,<source>packages/A,<source>../../A,' site/main/repository.xml",
            "sign site --keys keys", 1, "not on the site");
        row("a package that has changed", "echo >>site/main/packages/A-1.00.000.zip", "sign site --keys keys", 1,
            "put back what was published");
        row("a package that is gone", "rm site/main/packages/A-1.00.000.zip", "sign site --keys keys", 1,
            "no such file");
        row("a new package that is another one",
            "sed -i 's/A-1/B-1/' site/main/repository.xml; mv site/main site/m; sed -i s/main/m/2 site/site.xml",
            "sign site --keys keys", 1, "is not the file that");
    }
    void refuses()
    {
        const auto [shell, words, code, said] = cells<QString, QString, int, QString>("shell", "words", "code", "said");
        makeSignedSite();
        verifyRefusal(shell, words, code, said);
    }

    void finds_data()
    {
        const Rows<QString, QString> row("change", "said");
        row("a changed package", "printf X | dd of=main/packages/A-1.00.000.zip bs=1 seek=60 conv=notrunc status=none",
            "[trust-target");
        row("a copy that is gone", "rm main/*.repository.xml", "[trust-target");
        row("a changed copy", "echo >>$(ls *.site.xml)", "[trust-target");
        row("a changed description", "sed -i 's/Eff/Elf/' main/repository.xml", "[site-unsigned");
        row("a changed timestamp", "sed -i 's/\"version\":1/\"version\":2/' tuf/timestamp.json", "[trust-refused");
        row("no timestamp", "rm tuf/timestamp.json", "[trust-refused");
        const QString expiring = "python3 " NORVALE_SOURCE "/tests/norvale/check_tuf.py . ../keys/timestamp-1.pem ";
        row("an expired timestamp", expiring + "-1", "expired on 20");
        row("one that ends soon", expiring + "1", "[trust-expiry");
    }
    void finds()
    {
        const auto [change, said] = cells<QString, QString>("change", "said");
        makeSignedSite();
        QCOMPARE(check().code, 0);
        shell(change, "site");
        verifyCheck(1, said);
        if (change.startsWith("python3")) {
            QCOMPARE(run("site refresh site --keys keys").code, 0);
            QCOMPARE(check().code, 0);
        }
    }
};

QTEST_GUILESS_MAIN(tst_SiteSigning)
#include "tst_SiteSigning.moc"
