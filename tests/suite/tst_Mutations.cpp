#include "HostFixture.h"

#include <Tree.h>

namespace {

const int Count = qEnvironmentVariable("NORVALE_COUNT", "40").toInt(); // damages for each file
const int Seed = qEnvironmentVariable("NORVALE_SEED", "1").toInt();

const QString MachineFile = QStringLiteral("machine/Varkel/Pelmora.conf");
const QString HostFile = QStringLiteral("user/Varkel/VCore.conf");

/// Cuts @p bytes short, or flips one bit.
QByteArray damaged(QByteArray bytes, QRandomGenerator& random, QString* how)
{
    const int at = random.bounded(bytes.size());
    if (random.bounded(2)) {
        *how = QString("cut to %1 bytes").arg(at);
        return bytes.left(at);
    }
    const int bit = random.bounded(8);
    *how = QString("bit %1 of byte %2 flipped").arg(bit).arg(at);
    bytes[at] = char(bytes.at(at) ^ (1 << bit));
    return bytes;
}

} // namespace

/// Each kind of file of an installed suite, cut short or with a bit flipped at random. The start then works or names
/// the file; nothing crashes or hangs; and a repair from the site brings everything back.
class tst_Mutations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qunsetenv("XDG_RUNTIME_DIR"); // as in a session without one, hosts then use a folder in that of temporary files
        QStringList words{"site", "add", m_site, "--feature", "Core", "--feature-version", "1.0.0"};
        for (const QString name : {"Anchor", "Needy", "Other"}) {
            const QString folder = QString(MUTATED_SUITE "/plugins/%1-1.00.000").arg(name);
            const Ended packed = runToEnd(NORVALE_PROGRAM, {"pack", folder, "-o", path("packages")}, {});
            QVERIFY2(packed.code == 0, qPrintable(packed.reasons));
            words << packed.output.trimmed();
        }
        QCOMPARE(runToEnd(NORVALE_PROGRAM, words, {}).code, 0);
        setUp();
        QCOMPARE(run("--install " + m_site + "/main/repository.xml").code, 0);
        QVERIFY(hasWorked(start()));
        m_whole = treeOf(path(""));
    }
    void endsWithACodeForEachCase()
    {
        QCOMPARE(run("--verify").code, int(ExitCode::Ok));
        writeFile(path("core/plugins/Needy-1.00.000/Needy.so"), "short");
        const Ended verified = run("--json --verify");
        QCOMPARE(verified.code, int(ExitCode::Damaged));
        const QJsonObject json = QJsonDocument::fromJson(verified.output.toUtf8()).object();
        QCOMPARE(json["result"].toString(), QString("faulty"));
        QCOMPARE(json["findings"][0]["file"].toString(), QString("Needy.so"));
        QCOMPARE(run("--update-sites none").code, int(ExitCode::Ok));
        QCOMPARE(run("--repair").code, int(ExitCode::RepairIncomplete));
        for (const char* name : {"core/plugins/features.xml", "core/plugins/features.last.xml"})
            writeFile(path(name), "<");
        QCOMPARE(run("--verify").code, int(ExitCode::NotVerified));
        QCOMPARE(run("--repair").code, int(ExitCode::NotVerified));
        QCOMPARE(readFile(path("core/plugins/features.xml")), QByteArray("<"));
    }
    void isToldAndRepaired_data()
    {
        // The file, and by what name the start may tell of it.
        const Rows<QString, QString> row("file", "name");
        row("features file", "core/plugins/features.xml", "features.xml");
        row("its copy", "core/plugins/features.last.xml", "features.last.xml");
        row("record of files", "core/plugins/files.json", "files.json");
        row("manifest", "core/plugins/Needy-1.00.000/Manifest.xml", "Needy");
        row("library", "core/plugins/Needy-1.00.000/Needy.so", "Needy");
        row("machine-wide settings", MachineFile, "Pelmora.conf");
        row("host's settings", HostFile, "VCore.conf");
    }
    void isToldAndRepaired()
    {
        const auto [file, name] = cells<QString, QString>("file", "name");
        for (int number = 0; number < Count; ++number) {
            QVERIFY(restoreTree(path(""), m_whole));
            QRandomGenerator random(quint32(Seed * 100000 + number));
            QString how;
            writeFile(path(file), damaged(m_whole.at(file), random, &how));
            const Ended ended = start();
            QVERIFY2(ended.code >= 0 && (hasWorked(ended) || (ended.output + ended.reasons).contains(name)),
                     qPrintable(how + ": " + ended.reasons));
            if (!file.startsWith("core/"))
                setUp();
            const Ended repair = run("--repair");
            QVERIFY2(repair.code == 0, qPrintable(how + ": " + repair.reasons));
            for (const auto& [left, content] : without(m_whole, treeOf(path("")))) // the record's times may differ
                QVERIFY2(!left.startsWith("core/") || left.endsWith("files.json"), qPrintable(how + ": " + left));
            QVERIFY2(readFile(path(MachineFile)).contains("RepositoryName=main\n"), qPrintable(how));
            QVERIFY2(file.startsWith("core/") || hasWorked(start()), qPrintable(how));
        }
    }

private:
    QString path(const QString& name) const { return QDir::cleanPath(m_fixture.path(name)); }

    Ended run(const QString& line) const
    {
        // In a folder that counts as the installation when its record is lost; nobody looks for network interfaces.
        return m_fixture.run(wordsOf(line), {{"QT_BEARER_POLL_TIMEOUT", "-1"}}, path(""));
    }
    Ended start() const
    {
        QFile::remove(path("journal"));
        return run("--start-only --categories none");
    }
    bool hasWorked(const Ended& ended) const
    {
        return ended.code == 0 &&
               m_fixture.journal().filter("start ") == QStringList({"start Anchor", "start Needy", "start Other"});
    }

    /// What nobody but a person or a setup program knows.
    void setUp() const
    {
        writeFile(path(MachineFile), "[General]\nInstallDir=" + path("core").toUtf8() + '\n');
        const Ended set = run("--update-sites " + m_site);
        if (set.code == 0)
            return;
        // A file that is no settings file is not written over, but named.
        QVERIFY2(set.reasons.contains(path(HostFile)), qPrintable(set.reasons));
        QVERIFY(QFile::remove(path(HostFile)));
        QCOMPARE(run("--update-sites " + m_site).code, 0);
    }

    HostFixture m_fixture;
    const QString m_site = path("site");
    Tree m_whole;
};

QTEST_GUILESS_MAIN(tst_Mutations)
#include "tst_Mutations.moc"
