#include "Packages.h"
#include "Place.h"

#include "install/cInstallMgr.h"

#include <AtOnce.h>
#include <ChildRun.h>
#include <HttpSite.h>
#include <MovedState.h>
#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/cLogCentral.h>
#include <NotHere.h>
#include <Platform.h>
#include <Rows.h>

#include <cstdio>

static const char Data[] = "data/NorvaleTests/Fixture";
static const char Site[] =
    "<s><repository config='release' status='release' platform='x64' update='main' content='./repo'/></s>";
static const char Runtime[] = "<r name='main' version='2.0'><runtime version='1.0' name='setup'><source>s</source>"
                              "<hash>HASH</hash></runtime></r>";

/// What tells @p is from @p wanted, path by path; empty when they are the same.
static QStringList differences(const Tree& is, const Tree& wanted)
{
    QStringList texts;
    for (const auto& [path, content] : without(is, wanted))
        texts << QString("in the end is left: %1 (%2 bytes): ").arg(path).arg(content.size()) + content.left(200);
    for (const auto& entry : without(wanted, is))
        texts << "in the end is missing: " + entry.first;
    return texts;
}

static QString namesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).join(' ');
}

/// An update or a runtime that is fetched and an update that is installed, by a child process which is killed before
/// each of its calls that change the disk in turn, and in the middle of each write, or to which the disk is full or
/// cannot be written from that call on. What is installed, and what is pending, is then the old set or the new one,
/// never a part of either; and what is done next, without a fault, ends with the new one and nothing left over. The
/// same with uninstalling, where only the end counts.
class tst_Killed : public QObject
{
    Q_OBJECT

private slots:
    void endsInTheNewState_data()
    {
        const Rows<bool, QString, QString, QString, QString, QString> row("isOverPending", "offered", "steps", "next",
                                                                          "plugins", "data");
        const QString updated = "A-2.00.000 B-1.00.000 D-1.00.000 features.last.xml features.xml files.json";
        const auto fetching = [&](const char* name, const QString& offered, bool isOverPending = false) {
            row(name, isOverPending, offered, "apply", "install,apply,install", updated, "Dropbox: ");
        };
        fetching("fetching an update", "update");
        fetching("fetching an update over another", "update", true);
        fetching("fetching an update over the network", "remote");
        fetching("fetching a patch", "patch");
        fetching("fetching a signed update", "signed");
        fetching("fetching a signed update at first", "pinned");
        const QString before = "A-1.00.000 B-1.00.000 C-1.00.000 features.last.xml features.xml files.json";
        row("fetching a runtime beside an update", true, "runtime", "apply", "apply", before,
            "Dropbox setup: A-1.05.000.zip C-1.05.000.zip repository.xml");
        // The check reads the catalogue, and has its copy made if that was not possible before.
        row("installing an update", false, "update", "install", "install,apply", updated, "Dropbox: ");
        row("repairing a catalogue and plugins", false, "same", "repair", "repair",
            QString(before).replace("features.last", "features.damaged.xml features.last"), "Dropbox: ");
        row("replacing a package of one's own", false, "rebuilt", "replace", "install,replace", before + " Z-1.00.000",
            "Dropbox: ");
        row("uninstalling everything", false, "update", "uninstall", "uninstall", "", "Dropbox: ");
    }
    void endsInTheNewState()
    {
        const auto [offered, steps, next] = cells<QString, QString, QString>("offered", "steps", "next");
        m_server.reset();
        const bool hasQuickDisk = QDir::isAbsolutePath("/dev/shm") && QFileInfo("/dev/shm").isWritable();
        QTemporaryDir dir((hasQuickDisk ? "/dev/shm" : QDir::tempPath()) + "/killedXXXXXX");
        std::vector<Place> places;
        for (int i = 0; i < Workers; ++i)
            places.emplace_back(dir.filePath(QString::number(i)));
        for (Place& place : places)
            prepare(place, steps);
        if (offered != "remote")
            m_server.reset();
        const Place& first = places.front();
        QVERIFY2(first.run(steps, "count") == 0, qPrintable(first.said()));
        const QList<QByteArray> calls = first.report();
        QVERIFY(calls.size() > 4);
        m_done = first.state();
        m_fetched = fetchedBy(first);
        QCOMPARE(first.run(next), 0);
        m_end = first.state();
        QTEST(namesIn(first.path("core/plugins")), "plugins");
        QTEST(namesIn(first.path(Data)) + ": " + namesIn(first.path(QString(Data) + "/Dropbox")), "data");

        QStringList jobs;
        for (int i = 1; i <= calls.size(); ++i) {
            const QByteArray& call = calls.at(i - 1);
            jobs << QString("kill %1").arg(i);
            if (!m_server)
                jobs << QString("EROFS %1").arg(i);
            if (!m_server && !call.contains("unlink") && !call.contains("rmdir"))
                jobs << QString("ENOSPC %1").arg(i);
            if (call.contains("write"))
                jobs << QString("tear %1").arg(i);
        }
        std::atomic<int> job{0};
        m_faults.clear();
        atOnce(Workers, [&](int worker) {
            for (int i = EachCase * job++; i < jobs.size(); i = EachCase * job++)
                tryOut(places[size_t(worker)], jobs.at(i));
            places[size_t(worker)].remove();
        });
        const int covered = int(calls.size());
        qInfo("%d calls that change the disk, %d runs", covered, int(jobs.size()) / EachCase);
        if (qEnvironmentVariableIsSet("NORVALE_SHOW_CALLS"))
            qInfo("%s", calls.join('\n').replace(dir.path().toUtf8(), "").constData());
        QVERIFY2(m_faults.isEmpty(), qPrintable(m_faults.mid(0, 10).join('\n')));
    }

private:
    void prepare(Place& place, const QString& steps)
    {
        const auto [isOverPending, offered] = cells<bool, QString>("isOverPending", "offered");
        const QString site = place.path("site/repo"), own = place.path("own");
        const QString dropbox = place.path(QString(Data) + "/Dropbox");
        const QStringList first{"main 1.0", "Core 1.0: A 1.0 !silent, B 1.0 !silent", "More 1.0: C 1.0 !silent"};
        makeRepository(dropbox, first);
        writeFile(place.path("site/site.xml"), Site);
        if (offered == "remote") {
            if (!m_server)
                m_server = std::make_unique<HttpSite>();
            writeFile(place.path("url"), m_server->url().toEncoded());
        }
        QCOMPARE(place.run("prepare,install"), 0);
        if (offered == "runtime") {
            const QByteArray setup(100000, 's');
            const QByteArray hash = QCryptographicHash::hash(setup, QCryptographicHash::Sha1).toHex();
            writeFile(site + "/s", setup);
            writeFile(site + "/repository.xml", QByteArray(Runtime).replace("HASH", hash));
        } else if (offered == "rebuilt") {
            makeRepository(own, {"main 1.0", "Core 1.0: Z 1.0 !silent"});
            QCOMPARE(place.run("replace"), 0);
            makeRepository(own, {"main 1.0", "Core 1.0: Z 1.0 !silent !build=2"});
        } else if (offered == "same") {
            makeRepository(site, first);
            damage(place);
        } else {
            if (offered == "signed" || offered == "pinned") {
                makeRepository(site, first);
                m_server = std::make_unique<HttpSite>();
                sign(place, "new()");
                QVERIFY(place.run(offered == "signed" ? "pin,apply" : "pin") == 0);
            }
            makeRepository(
                site, {"main 2.0", "Core 2.0: A 2.0 !silent, B 1.0 !silent", "More 2.0: D 1.0 !silent !needs=A; Core"});
            if (offered == "patch")
                offerPatch(place);
            if (offered == "remote")
                serve(place);
            else if (m_server)
                sign(place, "rotate(root, 'next'); publish(root)");
        }
        if (steps == "install")
            QVERIFY2(place.run("apply") == 0, qPrintable(place.said()));
        if (isOverPending)
            makeRepository(dropbox, {"main 1.5", "Core 1.5: A 1.5 !silent, B 1.0 !missing", "More 1.5: C 1.5 !silent"});
        place.save();
        m_before = place.state();
    }
    /// Adds a patch of the plugin A to what the site offers.
    static void offerPatch(const Place& place)
    {
        const QString site = place.path("site/repo/");
        const QStringList words{PATCHES_PY, "make", place.path("core/plugins/A-1.00.000"), site + "A-2.00.000.zip",
                                site + "patch"};
        QCOMPARE(MachineProgram::execute("python3", words), 0);
        const QByteArray patch = readFile(site + "patch");
        const QByteArray size = QByteArray::number(patch.size());
        const QByteArray hash = QCryptographicHash::hash(patch, QCryptographicHash::Sha1).toHex();
        QByteArray xml = readFile(site + "repository.xml");
        xml.insert(xml.indexOf("</plugin>", xml.indexOf("<plugin name=\"A")),
                   "<delta from='1.0' size='" + size + "' hash='" + hash + "'>patch</delta>");
        writeFile(site + "repository.xml", xml);
    }
    /// Signs what the site has now, by other means than our own, after @p steps of tuf_site.py.
    void sign(const Place& place, const QString& steps) const
    {
        serve(place);
        QCOMPARE(m_server->forge(steps), QString());
        QCOMPARE(m_server->forge("tree(); release(); store()"), QString());
        for (const QFileInfo& file : QDir(m_server->folder() + "/../tuf").entryInfoList(QDir::Files))
            writeFile(place.path("site/tuf/" + file.fileName()), readFile(file.filePath()));
    }
    /// Has the server serve what the site has now.
    void serve(const Place& place) const
    {
        for (const auto& [path, content] : treeOf(place.path("site"))) {
            if (!path.endsWith('/') && !path.startsWith("tuf/"))
                QVERIFY(m_server->write(path, content));
        }
    }
    /// The bytes that the last update of @p place has fetched, and those of packages and parts that lie there.
    static int fetchedBy(const Place& place)
    {
        return place.said().section("fetched: ", 1).section('\n', 0, 0).toInt();
    }
    static int bytesThere(const Place& place)
    {
        int bytes = 0;
        for (const auto& [path, content] : place.state())
            bytes += path.contains(".zip") && !path.endsWith(".origin") ? content.size() : 0;
        return bytes;
    }
    static void damage(const Place& place)
    {
        writeFile(place.path("core/plugins/A-1.00.000/it.so"), "cut short");
        writeFile(place.path("core/plugins/C-1.00.000/doc/read.me"), QByteArray(80, 'x'));
        writeFile(place.path("core/plugins/features.xml"), "<repository version='1");
        QVERIFY(QDir(place.path("core/plugins/B-1.00.000")).removeRecursively());
    }
    void tryOut(const Place& place, const QString& fault)
    {
        const auto [steps, next] = cells<QString, QString>("steps", "next");
        QStringList faults;
        if (!place.restore())
            faults << "what was before cannot be brought back";
        const int code = place.run(steps, fault);
        const bool isKilled = fault.startsWith("kill") || fault.startsWith("tear");
        // How many pieces arrive over the network is not the same each time.
        if (isKilled != (code == -1) && !(m_server && code == 0))
            faults << QString("ended with %1, having called").arg(code) + place.report().join(", ");
        const QString said = place.said();
        if (code == 1 && !said.contains(causeOf(fault), Qt::CaseInsensitive) &&
            !said.contains("its lock cannot be written"))
            faults << "failed and did not say why";
        if (steps != "uninstall" && !isWhole(place, "core/plugins/", "features.xml"))
            faults << "neither the old nor the new set is whole";
        if (steps == "install")
            faults << place.unrecorded();
        if (steps == "apply" && !isWhole(place, "data/", "NorvaleTests/Fixture/Dropbox/repository.xml"))
            faults << "neither the old nor the new pending update is whole";
        place.age();
        for (const auto& [path, content] : treeOf(place.path("core/Trust"))) {
            if (!path.contains(QRegularExpression("\\.\\w{6}$")) && !isDocument(place, content))
                faults << "no whole document of the site is " + path;
        }
        const int there = bytesThere(place);
        if (place.run(next) != 0)
            faults << "what is done next fails: " + place.said();
        if (m_server && there + fetchedBy(place) > m_fetched)
            faults << QString("fetched %1 of %2 though there were %3").arg(fetchedBy(place)).arg(m_fetched).arg(there);
        faults << differences(place.state(), m_end);
        if (!faults.isEmpty())
            faults << "it said: " + said << "what is done next said: " + place.said();
        const QMutexLocker lock(&m_mutex);
        for (const QString& text : qAsConst(faults))
            m_faults << fault + ": " + text;
    }
    /// All that was there before in the folder @p part, or will be when no fault occurs, is there; the file @p mark in
    /// it tells which.
    bool isWhole(const Place& place, const QString& part, const QString& mark) const
    {
        Tree tree = place.state();
        const QString plugins = "core/plugins/", aside = plugins + "unfinished.replaced/";
        for (const auto& [path, content] : Tree(tree)) { // moved away, as long as nothing is in its place
            if (path.startsWith(aside))
                tree.insert({plugins + path.mid(aside.size()), content});
        }
        const auto isThere = [&](const Tree& set) {
            bool isIt = tree.count(part + mark) == set.count(part + mark);
            for (const auto& entry : without(set, tree)) {
                const QString path = entry.first; // the copy may be one version behind, and the record one ahead
                isIt = isIt && (!path.startsWith(part) || path == plugins + "features.last.xml" ||
                                path == plugins + "files.json");
            }
            return isIt;
        };
        // A repair leaves everything as it is that is not at fault.
        if (part == plugins && !m_before.count(plugins + "B-1.00.000/"))
            return without(without(m_before, without(m_before, m_done)), tree).empty();
        return isThere(m_before) || isThere(m_done);
    }

    bool isDocument(const Place& place, const QByteArray& content) const
    {
        const auto isIt = [&](const auto& file) { return file.second == content; };
        const Tree site = treeOf(place.path("site"));
        return std::any_of(site.begin(), site.end(), isIt) || std::any_of(m_before.begin(), m_before.end(), isIt);
    }

    /// What a failure has to say. On Windows the words of some calls are the system's, in its language.
    static QString causeOf(const QString& fault)
    {
        if (!Platform::hasUnixFiles())
            return ":";
        return fault.startsWith("ENOSPC") ? "no space is left on the device that holds " : " is read-only";
    }

    static constexpr int Workers = 3; // what a process waits for leaves its processor to another

    std::unique_ptr<HttpSite> m_server; // of rows that need one
    int m_fetched = 0;                  // bytes, where nothing goes wrong
    Tree m_before;
    Tree m_done;
    Tree m_end;
    QMutex m_mutex;
    QStringList m_faults;
};

/// The child: a host that takes its steps one after another. Exit code 1 when one of them fails.
static int takeSteps(const QStringList& words)
{
    const QString folder = words.at(0);
    Platform::loadFaults();
    MovedState::enter(folder);
    bool isDone = true;
    for (const QString& step : words.at(1).split(',')) {
        if (step == "prepare") {
            QSettings(QSettings::SystemScope, "Varkel", "Pelmora").setValue("InstallDir", folder + "/core");
            const QUrl remote = QUrl::fromEncoded(readFile(folder + "/url"));
            const QVariantMap site{{"url", remote.isEmpty() ? QUrl::fromLocalFile(folder + "/site") : remote}};
            QSettings().setValue("UpdateMgr/Locations/site", site);
        } else if (!cInstallMgr::instance()) {
            isDone = Corvane::initialize() && isDone;
            cLogCentral::setDebuggerOutput(true);
        }
        if (step == "pin")
            isDone = IConfigMgr::pinTrust(readFile(folder + "/site/tuf/1.root.json"), nullptr) && isDone;
        if (step == "install")
            isDone = IInstallMgr::installDropbox() && isDone;
        if (step == "replace")
            isDone = IInstallMgr::installPackage(folder + "/own/Z-1.00.000.zip") && isDone;
        if (step == "repair")
            isDone = IInstallMgr::repair().result % 3 != 0 && isDone; // complete, or nothing to do
        if (step == "uninstall")
            isDone = IInstallMgr::uninstallPlugins() && isDone;
        if (step == "apply") {
            const cJsonValue result = IConfigMgr::doUpdateOn({});
            isDone = result.get("result_code", -1).toInt() % 2 == 0 && isDone;
            std::printf("fetched: %d\n", result.get("fetched", 0).toInt());
        }
    }
    for (const cLogEntry& entry : cLogCentral::history()) {
        if (entry.level != debugInfo)
            std::puts(qPrintable(entry.channel + ": " + entry.message));
    }
    return isDone ? 0 : 1;
}

TEST_OR_CHILD_MAIN(tst_Killed, takeSteps)
#include "tst_Killed.moc"
