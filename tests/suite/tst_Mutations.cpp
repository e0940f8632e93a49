#include "HostFixture.h"

#include <AtOnce.h>
#include <MovedState.h>
#include <Tree.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QRandomGenerator>

namespace {

const int Count = qEnvironmentVariable("NORVALE_COUNT", "40").toInt(); // damages for each file
const int Seed = qEnvironmentVariable("NORVALE_SEED", "1").toInt();

struct Run
{
    int code = -1; // -1: crashed; -2: did not end
    QString said;
    QString started; // the plugins, in their order
};

/// An installation in a folder of its own, so that several can be damaged at a time.
class Installation
{
public:
    explicit Installation(const QString& folder) : m_folder(folder) {}

    QString path(const QString& name) const { return m_folder + '/' + name; }

    Run run(const QStringList& arguments) const
    {
        Run run;
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        MovedState::addTo(environment, m_folder);
        environment.insert("VCORE_TEST_JOURNAL", path("journal"));
        environment.insert("QT_BEARER_POLL_TIMEOUT", "-1"); // no looking for network interfaces
        QFile::remove(path("journal"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(m_folder); // which counts as the installation when its record is lost
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(VCORE_PROGRAM, arguments);
        const bool hasEnded = process.waitForFinished(20000);
        run.said = QString::fromUtf8(process.readAll());
        run.started = QString::fromUtf8(readFile(path("journal"))).split('\n').filter("start ").join(' ');
        if (!hasEnded)
            run.code = -2;
        else if (process.exitStatus() == QProcess::NormalExit)
            run.code = process.exitCode();
        return run;
    }

    Run start() const { return run({"--start-only", "--categories", "none"}); }

    /// Installs the suite from @p site, as a setup program and a person do.
    void install(const QString& site)
    {
        setUp(site);
        const Run installed = run({"--install", site + "/main/repository.xml"});
        if (installed.code != 0)
            qFatal("not installed: %s", qPrintable(installed.said));
        m_started = start().started;
        m_whole = treeOf(m_folder);
    }

    /// What nobody but a person or a setup program knows. @return what is wrong.
    QString setUp(const QString& site) const
    {
        writeFile(path("machine/Varkel/Pelmora.conf"), "[General]\nInstallDir=" + path("core").toUtf8() + '\n');
        const Run set = run({"--update-sites", site});
        if (set.code == 0)
            return QString();
        // A file that is no settings file is not written over, but named.
        if (!set.said.contains(path("user/Varkel/VCore.conf")))
            return "the sites cannot be set: " + set.said;
        QFile::remove(path("user/Varkel/VCore.conf"));
        return run({"--update-sites", site}).code == 0 ? QString() : "the sites cannot be set at all";
    }

    const QString& started() const { return m_started; }
    QByteArray whole(const QString& file) const { return m_whole.at(file); }

    /// Brings everything back as it was.
    void restore() const { restoreTree(m_folder, m_whole); }

    /// What of the suite is not as it was; the record's times may differ.
    QStringList differences() const
    {
        QStringList names;
        for (const auto& [name, content] : without(m_whole, treeOf(m_folder))) {
            if (name.startsWith("core/") && !name.endsWith("files.json"))
                names << name;
        }
        return names;
    }

private:
    QString m_folder;
    QString m_started;
    Tree m_whole;
};

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
        const QString site = m_dir.filePath("site");
        QStringList packages;
        for (const QString name : {"Anchor", "Needy", "Other"}) {
            const QString folder = QString(MUTATED_SUITE "/plugins/%1-1.00.000").arg(name);
            const Ended packed = runToEnd(NORVALE_PROGRAM, {"pack", folder, "-o", m_dir.path()}, {});
            QVERIFY2(packed.code == 0, qPrintable(packed.reasons));
            packages << packed.output.trimmed();
        }
        const QStringList feature{"site", "add", site, "--feature", "Core", "--feature-version", "1.0.0"};
        const Ended added = runToEnd(NORVALE_PROGRAM, feature + packages, {});
        QVERIFY2(added.code == 0, qPrintable(added.reasons));
        for (int i = 0; i < Workers; ++i) {
            m_places.emplace_back(m_dir.filePath(QString::number(i)));
            m_places.back().install(site);
            QCOMPARE(m_places.back().started(), QString("start Anchor start Needy start Other"));
        }
    }
    void endsWithACodeForEachCase()
    {
        const Installation& place = m_places.front();
        const QString library = "core/plugins/Needy-1.00.000/Needy.so", features = "core/plugins/features.xml";
        QCOMPARE(place.run({"--verify"}).code, int(ExitCode::Ok));
        writeFile(place.path(library), "short");
        const Run verified = place.run({"--verify"});
        QCOMPARE(verified.code, int(ExitCode::Damaged));
        QVERIFY2(
            verified.said.contains(QRegularExpression("changed +Needy-1.00.000 +Needy.so +has 5 bytes instead of")),
            qPrintable(verified.said));
        const QJsonObject json = QJsonDocument::fromJson(place.run({"--json", "--verify"}).said.toUtf8()).object();
        QCOMPARE(json["result"].toString(), QString("faulty"));
        QCOMPARE(json["findings"][0]["file"].toString(), QString("Needy.so"));
        QCOMPARE(place.run({"--update-sites", "none"}).code, int(ExitCode::Ok));
        QCOMPARE(place.run({"--repair"}).code, int(ExitCode::RepairIncomplete));
        for (const char* name : {"core/plugins/features.xml", "core/plugins/features.last.xml"})
            writeFile(place.path(name), "<");
        QCOMPARE(place.run({"--verify"}).code, int(ExitCode::NotVerified));
        QCOMPARE(place.run({"--repair"}).code, int(ExitCode::NotVerified));
        QCOMPARE(readFile(place.path(features)), QByteArray("<"));
    }
    void isToldAndRepaired_data()
    {
        // The file, and by what names the start may tell of it.
        const Rows<QString, QString> row("file", "names");
        row("features file", "core/plugins/features.xml", "features.xml");
        row("its copy", "core/plugins/features.last.xml", "features.last.xml");
        row("record of files", "core/plugins/files.json", "files.json");
        row("manifest", "core/plugins/Needy-1.00.000/Manifest.xml", "Needy");
        row("library", "core/plugins/Needy-1.00.000/Needy.so", "Needy");
        row("machine-wide settings", "machine/Varkel/Pelmora.conf", "Pelmora.conf");
        row("host's settings", "user/Varkel/VCore.conf", "VCore.conf");
    }
    void isToldAndRepaired()
    {
        QFETCH(QString, file);
        QElapsedTimer clock;
        clock.start();
        std::atomic<int> next{0};
        m_faults.clear();
        m_told = m_worked = 0;
        atOnce(Workers, [&](int worker) {
            for (int i = next++; i < Count; i = next++)
                tryOut(m_places[size_t(worker)], file, i);
        });
        qInfo("%d damages: %d starts worked, %d told of it; %lld ms", Count, int(m_worked), int(m_told),
              clock.elapsed());
        QVERIFY2(m_faults.isEmpty(),
                 qPrintable(QString("%1: ").arg(m_faults.size()) + m_faults.mid(0, s_shown).join("\n\n")));
    }

private:
    void tryOut(const Installation& place, const QString& file, int number)
    {
        QFETCH(QString, names);
        place.restore();
        QRandomGenerator random(quint32(Seed * 100000 + number));
        QString how;
        writeFile(place.path(file), damaged(place.whole(file), random, &how));
        const Run start = place.start();
        QStringList faults;
        const bool isTold = start.said.contains(names);
        const bool hasWorked = start.code == 0 && start.started == place.started();
        if (start.code < 0)
            faults << (start.code == -1 ? "the start crashed" : "the start did not end");
        else if (!hasWorked && !isTold)
            faults
                << QString("the start ended with %1, started %2, and named nobody").arg(start.code).arg(start.started);
        (hasWorked ? m_worked : m_told)++;
        if (!file.startsWith("core/"))
            faults << place.setUp(m_dir.filePath("site"));
        faults.removeAll(QString());
        const Run repair = place.run({"--repair"});
        if (repair.code != 0)
            faults << QString("the repair ended with %1: %2").arg(repair.code).arg(repair.said);
        const QStringList left = place.differences();
        if (!left.isEmpty())
            faults << "not brought back: " + left.join(", ") + "; the repair said: " + repair.said;
        if (!readFile(place.path("machine/Varkel/Pelmora.conf")).contains("RepositoryName=main\n"))
            faults << "the name of the repository is lost; the repair said: " + repair.said;
        if (!file.startsWith("core/") && place.start().started != place.started())
            faults << "the start does not work after the repair";
        const QMutexLocker lock(&m_mutex);
        if (!faults.isEmpty())
            m_faults << how + ": " + faults.join("; ") + "\nthe start said: " + start.said.left(1000);
    }

    static constexpr int Workers = 2;
    static constexpr int s_shown = 5;

    QTemporaryDir m_dir;
    std::vector<Installation> m_places;
    QMutex m_mutex;
    QStringList m_faults;
    std::atomic<int> m_told{0};
    std::atomic<int> m_worked{0};
};

QTEST_GUILESS_MAIN(tst_Mutations)
#include "tst_Mutations.moc"
