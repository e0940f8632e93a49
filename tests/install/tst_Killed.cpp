#include "install/cInstallMgr.h"

#include <MachineProgram.h>
#include <MovedState.h>
#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/cLogCentral.h>
#include <Platform.h>
#include <Rows.h>

#include <QtCore/QMutex>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <map>
#include <thread>

namespace {

/// Path below a folder and content; folders end in "/" and have none.
using Tree = std::map<QString, QByteArray>;

// Here as in all that several threads do with files, Qt's classes do it. What the language's own open, a process
// inherits that another thread starts meanwhile; as long as it lives, nobody can remove the file on Windows.
Tree treeOf(const QString& folder)
{
    Tree tree;
    const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (QDirIterator it(folder, all, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        const QString path = it.filePath().mid(folder.size() + 1);
        if (it.fileInfo().isDir())
            tree[path + '/'];
        else
            tree[path] = file.open(QFile::ReadOnly) ? file.readAll() : file.errorString().toUtf8();
    }
    return tree;
}

const QString Library = Platform::library("it");

/// Whether @p tree holds every file of @p part.
bool holds(const Tree& tree, const Tree& part)
{
    return std::includes(tree.begin(), tree.end(), part.begin(), part.end());
}

/// Makes what lies in the folder @p to what lies in @p from, which is @p wanted. What is so already is left as it is.
bool makeLike(const QString& from, const Tree& wanted, const QString& to)
{
    const Tree is = treeOf(to);
    bool isDone = QDir().mkpath(to);
    for (auto entry = is.rbegin(); entry != is.rend(); ++entry) {
        const QString path = to + '/' + entry->first;
        const auto same = wanted.find(entry->first);
        if (same == wanted.end() || same->second != entry->second)
            isDone = (path.endsWith('/') ? QDir().rmdir(path) : QFile::remove(path)) && isDone;
    }
    for (const auto& [path, content] : wanted) {
        const auto same = is.find(path);
        if (same == is.end() || same->second != content)
            isDone =
                (path.endsWith('/') ? QDir(to).mkdir(path) : QFile::copy(from + '/' + path, to + '/' + path)) && isDone;
    }
    return isDone;
}

/// What tells @p is from @p wanted, path by path; empty when they are the same.
QStringList differences(const Tree& is, const Tree& wanted)
{
    QStringList texts;
    for (const auto& [path, content] : is) {
        const auto other = wanted.find(path);
        if (other == wanted.end())
            texts << "left: " + path;
        else if (other->second != content)
            texts << QString("other content: %1 (%2 bytes)").arg(path).arg(content.size());
    }
    for (const auto& entry : wanted) {
        if (!is.count(entry.first))
            texts << "missing: " + entry.first;
    }
    return texts;
}

/// An installation in a folder of its own, with the site that it is updated from.
class Place
{
public:
    explicit Place(const QString& folder) : m_folder(folder) {}

    /// Runs this program as a child, which takes @p steps. @return its exit code; -1 when it was killed.
    int run(const QString& steps, const QString& faults = QString()) const
    {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        MovedState::addTo(environment, m_folder);
        environment.insert("QT_HASH_SEED", "0");            // the order of attributes in written XML
        environment.insert("QT_BEARER_POLL_TIMEOUT", "-1"); // no looking for network interfaces
        if (!faults.isEmpty()) {
            environment.insert("LD_PRELOAD", FILE_FAULTS);
            environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
            environment.insert("FILE_FAULTS", faults);
            environment.insert("FILE_FAULTS_BELOW", m_folder);
            environment.insert("FILE_FAULTS_REPORT", m_folder + ".report");
        }
        QFile::remove(m_folder + ".report");
        child.setProcessEnvironment(environment);
        child.setStandardErrorFile(QProcess::nullDevice());
        child.setStandardOutputFile(m_folder + ".log");
        Platform::startAgain(child, {"child", m_folder, steps});
        child.waitForFinished(-1);
        return child.exitStatus() == QProcess::CrashExit ? -1 : child.exitCode();
    }
    QList<QByteArray> report() const
    {
        QFile file(m_folder + ".report");
        return file.open(QFile::ReadOnly) ? file.readAll().trimmed().split('\n') : QList<QByteArray>();
    }
    QString said() const { return QString(Corvane::FileReadAll(m_folder + ".log", nullptr)); }

    void offer(const QString& where, const QStringList& words) const
    {
        const QStringList all = QStringList{PACKAGES_PY, "repository", m_folder + "/" + where} + words;
        QCOMPARE(MachineProgram::execute("python3", all), 0);
    }
    Tree plugins() const { return treeOf(m_folder + "/core/plugins"); }
    Tree dropbox() const { return treeOf(m_folder + "/data/NorvaleTests/Fixture/Dropbox"); }
    QByteArray settings() const { return MovedState::machineSettings(m_folder).replace(m_folder.toUtf8(), "FOLDER"); }

    /// Of a lock without contents Qt waits half a minute whether its owner fills it. Let that have passed.
    void ageLocks() const
    {
        for (QDirIterator it(m_folder, {"*.lock"}, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
            QFile file(it.next());
            if (file.open(QFile::ReadWrite))
                file.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFile::FileModificationTime);
        }
    }
    bool save()
    {
        m_saved = treeOf(m_folder);
        MovedState::save(m_folder);
        return makeLike(m_folder, m_saved, m_folder + ".saved");
    }
    bool restore() const
    {
        MovedState::restore(m_folder);
        return makeLike(m_folder + ".saved", m_saved, m_folder);
    }
    void remove() const { MovedState::remove(m_folder); }

private:
    QString m_folder;
    Tree m_saved;
};

} // namespace

/// An update that is fetched and one that is installed, by a child process which is killed before each of its calls
/// that change the disk in turn, and in the middle of each write, or to which the disk is full or cannot be written
/// from that call on. What is installed is then the old set or the new one, never a part of either; and what is done
/// next, without a fault, ends with the new one and nothing left over. The same with uninstalling, where only the end
/// counts.
class tst_Killed : public QObject
{
    Q_OBJECT

private slots:
    void endsInTheNewState_data()
    {
        const Rows<QString, QString> row("steps", "next");
        row("fetching an update", "apply", "install,apply,install");
        row("installing it", "install", "install");
        row("uninstalling everything", "uninstall", "uninstall");
    }
    void endsInTheNewState()
    {
        QFETCH(QString, steps);
        QFETCH(QString, next);
        const bool hasQuickDisk = QDir::isAbsolutePath("/dev/shm") && QFileInfo("/dev/shm").isWritable();
        QTemporaryDir dir((hasQuickDisk ? "/dev/shm" : QDir::tempPath()) + "/killedXXXXXX");
        std::vector<Place> places;
        for (int i = 0; i < Workers; ++i)
            places.emplace_back(dir.filePath(QString::number(i)));
        for (Place& place : places)
            prepare(place, steps == "install");
        const Place& first = places.front();
        QVERIFY2(first.run(steps, "count") == 0, qPrintable(first.said()));
        const QList<QByteArray> calls = first.report();
        QCOMPARE(first.run(next), 0);
        m_new = first.plugins();
        m_newSettings = first.settings();
        m_isUpdate = steps != "uninstall";
        m_faults.clear();
        QVERIFY(m_isUpdate ? m_new.count("A-2.00.000/" + Library) && !m_new.count("A-1.00.000/") : m_new.empty());
        QVERIFY(first.dropbox().empty());
        QVERIFY(calls.size() > 10);

        QStringList jobs;
        for (int i = 1; i <= calls.size(); ++i) {
            const QByteArray& call = calls.at(i - 1);
            jobs << QString("kill %1").arg(i) << QString("EROFS %1").arg(i);
            if (!call.contains("unlink") && !call.contains("rmdir"))
                jobs << QString("ENOSPC %1").arg(i);
            if (call.contains("write"))
                jobs << QString("tear %1").arg(i);
        }
        std::atomic<int> job{0};
        std::vector<std::thread> workers;
        for (const Place& place : places) {
            workers.emplace_back([&] {
                for (int i = job++; i < jobs.size(); i = job++)
                    tryOut(place, steps, next, jobs.at(i));
            });
        }
        for (std::thread& worker : workers)
            worker.join();
        for (const Place& place : places)
            place.remove();
        const int covered = calls.size();
        qInfo("%d calls that change the disk, %d runs", covered, jobs.size());
        if (qEnvironmentVariableIsSet("NORVALE_SHOW_CALLS"))
            qInfo("%s", calls.join('\n').replace(dir.path().toUtf8(), "").constData());
        QVERIFY2(m_faults.isEmpty(), qPrintable(m_faults.mid(0, 10).join('\n')));
    }

private:
    void prepare(Place& place, bool isFetched)
    {
        place.offer("data/NorvaleTests/Fixture/Dropbox",
                    {"main 1.0", "Core 1.0: A 1.0 !silent, B 1.0 !silent", "More 1.0: C 1.0 !silent"});
        QCOMPARE(place.run("prepare,install"), 0);
        place.offer("site/repo", {"main 2.0", "Core 2.0: A 2.0 !silent, B 1.0 !silent", "More 2.0: D 1.0 !silent"});
        if (isFetched)
            QVERIFY2(place.run("apply") == 0, qPrintable(place.said()));
        QVERIFY(place.save());
        m_old = place.plugins();
        QVERIFY(m_old.count("A-1.00.000/" + Library) && place.dropbox().empty() != isFetched);
    }
    void tryOut(const Place& place, const QString& steps, const QString& next, const QString& fault)
    {
        QStringList faults;
        if (!place.restore())
            faults << "what was before cannot be brought back";
        const int code = place.run(steps, fault);
        const bool isKilled = fault.startsWith("kill") || fault.startsWith("tear");
        if (isKilled != (code == -1))
            faults << QString("ended with %1, having called").arg(code) + place.report().join(", ");
        const QString said = place.said();
        if (code == 1 && said.isEmpty())
            faults << "failed and said nothing";
        if (m_isUpdate && !isWhole(place.plugins()))
            faults << "neither the old nor the new set is whole";
        place.ageLocks();
        if (place.run(next) != 0)
            faults << "what is done next fails: " + place.said();
        faults << unlikeNew(place);
        if (!faults.isEmpty())
            faults << "it said: " + said << "what is done next said: " + place.said();
        const QMutexLocker lock(&m_mutex);
        for (const QString& text : qAsConst(faults))
            m_faults << fault + ": " + text;
    }
    /// What is not as after all steps without a fault.
    QStringList unlikeNew(const Place& place) const
    {
        QStringList texts = differences(place.plugins(), m_new) + differences(place.dropbox(), {});
        const QByteArray settings = place.settings();
        if (settings != m_newSettings)
            texts << "settings: " + settings + "instead of: " + m_newSettings;
        return texts.replaceInStrings(QRegularExpression("^"), "in the end: ");
    }
    /// The features file is the old one or the new one, and the folders that it names are as they were or will be.
    bool isWhole(const Tree& tree) const
    {
        const QString features = "features.xml";
        const auto isThere = [&](const Tree& set) { return tree.at(features) == set.at(features) && holds(tree, set); };
        return tree.count(features) && (isThere(m_old) || isThere(m_new));
    }

    static constexpr int Workers = 3; // what a process waits for leaves its processor to another

    Tree m_old;
    Tree m_new;
    QByteArray m_newSettings;
    bool m_isUpdate = true;
    QMutex m_mutex;
    QStringList m_faults;
};

/// The child: a host that takes its steps one after another. Exit code 1 when one of them fails.
static int takeSteps(const QString& folder, const QString& steps)
{
    bool isDone = true;
    for (const QString& step : steps.split(',')) {
        if (step == "prepare") {
            QSettings(QSettings::SystemScope, "Varkel", "Pelmora").setValue("InstallDir", folder + "/core");
            const QVariantMap site{{"url", QUrl::fromLocalFile(folder + "/site")}};
            QSettings().setValue("UpdateMgr/Locations/site", site);
            QFile file(folder + "/site/site.xml");
            isDone = QDir().mkpath(folder + "/site") && file.open(QFile::WriteOnly) &&
                     file.write("<s><repository config='release' status='release' platform='x64' update='main' "
                                "content='./repo'/></s>") > 0;
        } else if (!cInstallMgr::instance()) {
            isDone = Corvane::initialize() && isDone;
            cLogCentral::setDebuggerOutput(true);
        }
        if (step == "install")
            isDone = IInstallMgr::installDropbox() && isDone;
        if (step == "uninstall")
            isDone = IInstallMgr::uninstallPlugins() && isDone;
        if (step == "apply")
            isDone = IConfigMgr::doUpdateOn({}).get("result_code", -1).toInt() % 2 == 0 && isDone;
    }
    for (const cLogEntry& entry : cLogCentral::history()) {
        if (entry.level != debugInfo)
            std::puts(qPrintable(entry.channel + ": " + entry.message));
    }
    return isDone ? 0 : 1;
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName("NorvaleTests");
    QCoreApplication::setApplicationName("Fixture");
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "child") {
        Platform::loadFaults();
        MovedState::enter(arguments.value(2));
        return takeSteps(arguments.value(2), arguments.value(3));
    }
    tst_Killed test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_Killed.moc"
