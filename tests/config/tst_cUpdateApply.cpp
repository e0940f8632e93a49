#include "UpdateFixture.h"

#include "config/cCatalogueReader.h"
#include "plugins/cFileRecord.h"

#include <HttpSite.h>
#include <MachineProgram.h>
#include <Platform.h>

static const char Installed[] = "<feature name='C' version='1.0' repository='main'/>";

/// What the site has as pkg/NAME.
static QByteArray bytesOf(const QByteArray& name)
{
    return name.leftJustified(1000, '.');
}

/// The hash of pkg/NAME, and sources.
static QByteArray package(const QByteArray& name, const QByteArrayList& sources)
{
    QByteArray xml;
    for (const QByteArray& source : sources)
        xml += "<source>" + source + "</source>";
    return xml + (name.isEmpty() ? "<hash method='sha1'/>" : hashed(bytesOf(name)));
}

static QByteArray plugin(const QByteArray& name, const QByteArray& package, const QByteArray& version = "1.0")
{
    return "<plugin name='" + name + "' version='" + version + "' size='1000'>" + package + "</plugin>";
}

static QByteArray feature(const QByteArray& plugins)
{
    return "<feature name='C' version='2.0'><displayname>See</displayname><plugins>" + plugins + "</plugins></feature>";
}

static QByteArray pluginA(const QByteArrayList& sources = {"../pkg/A"})
{
    return plugin("A", package("A", sources));
}

static QByteArray pluginB(const QByteArray& source = "../pkg/B", const QByteArray& version = "1.0")
{
    return plugin("B", package("B", {source}), version);
}

static QByteArray runtime(const QByteArray& name, const QByteArray& source = "../pkg/S", const QByteArray& hashOf = "S")
{
    return "<runtime version='1.0' name='" + name + "'>" + package(hashOf, {source}) + "</runtime>";
}

static QByteArray contentOf(const QString& name)
{
    return Corvane::FileReadAll(dataPath(name), nullptr);
}

/// The packages in the Dropbox folder, without their version, and "+" when a description makes them count.
static QString dropbox()
{
    QString files = QDir(dataPath("Dropbox")).entryList(QDir::Files | QDir::Hidden, QDir::Name).join(' ');
    files.remove(".packages").remove("-1.00.000.zip"); // the list of what is to go is no package
    return files.replace("repository.xml", "+").simplified();
}

/// The patch pkg/FILE, with the hash of @p hashOf.
static QByteArray delta(const QByteArray& file, const QByteArray& hashOf, const QByteArray& from = "1.0")
{
    const QByteArray hash = QCryptographicHash::hash(hashOf, QCryptographicHash::Sha1).toHex();
    return "<delta from='" + from + "' size='9000' hash='" + hash + "'>../pkg/" + file + "</delta>";
}

/// Fetching what a check found, over HTTP: what lies where afterwards, however it went.
class tst_cUpdateApply : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.write("site.xml", UpdateFixture::Site));
        for (const char* name : {"A", "B", "S"})
            QVERIFY(m_site.write(QString("pkg/") + name, bytesOf(name)));
        // D is patched; E is another package of as many bytes.
        QByteArray library(100000, ' ');
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32*>(library.data()), library.size() / 4);
        for (const char* folder : {"old", "D", "E"}) {
            QVERIFY(m_site.write(folder + QString("/Manifest.xml"), "<m/>"));
            QVERIFY(m_site.write(folder + QString("/lib"), library));
            library[5000] = library[5000] + 1;
            const QString made = m_site.folder() + "/pkg/" + folder;
            const QStringList zip{PATCHES_PY, "zip", m_site.folder() + '/' + folder, made + ".zip", "0"};
            QCOMPARE(MachineProgram::execute("python3", zip), 0);
            const QStringList patch{PATCHES_PY, "make", m_site.folder() + "/old", made + ".zip", made + ".delta"};
            QCOMPARE(MachineProgram::execute("python3", patch), 0);
        }
    }
    void init() { m_fixture.begin(Installed, m_site.url()); }
    void fetchesPackages_data()
    {
        const Rows<QByteArray, QString, QString, QString> row("plugins", "outcome", "found", "logged");
        row("all", pluginA() + pluginB(), "0", "A B +", "");
        row("nothing but the description", "", "0", "+", "");
        row("not at the first source", pluginA({"x", "../pkg/A"}), "0", "A +", "answers 404");
        row("too long", pluginA({"../~fill=300000000/pkg/A", "../pkg/A"}), "0", "A +", "more bytes");
        row("something else first", pluginA({"../pkg/B", "../pkg/A"}), "0", "A +", "match its hash");
        row("an absolute source", pluginA({m_site.url("pkg/A").toEncoded()}), "0", "A +", "");
        row("nowhere", pluginA() + pluginB("x"), "3 B-1.00.000", "A", "answers 404");
        row("one in the middle nowhere",
            pluginA({"../~trickle=1/pkg/A"}) + pluginB("x") + plugin("S", package("S", {"../~pause=0/pkg/S"})),
            "3 B-1.00.000", "A", "answers 404");
        row("the first one last", pluginA({"../~cut=700/~wait=300/pkg/A"}) + pluginB("x"), "3 A-1.00.000",
            "A.part A.part.origin", "Connection closed");
        row("no hash", plugin("A", package("", {"../pkg/A"})), "3 A-1.00.000", "", "no SHA-1 hash");
        row("no source", pluginA({}), "3 A-1.00.000", "", "no source");
        row("out of the folder", pluginA() + plugin("../x", ""), "3 ../x-1.00.000", "", "be a file name");
        row("two in one file, where case makes no difference", pluginA() + plugin("a", ""), "3 a-1.00.000", "",
            "differs from A-1.00.000");
        row("into a folder", pluginA() + plugin("x\\A", ""), "3 x\\A-1.00.000", "", "be a file name");
    }
    void fetchesPackages()
    {
        const auto [plugins, outcome, logged] = cells<QByteArray, QString, QString>("plugins", "outcome", "logged");
        offer("version='2.0' core_version='1.0'", feature(plugins));
        QCOMPARE(update(), outcome);
        QTEST(dropbox(), "found");
        QVERIFY(!dropbox().split(' ').contains("A") || contentOf("Dropbox/A-1.00.000.zip") == bytesOf("A"));
        QCOMPARE(Corvane::restartSetupFilename(), QString(outcome == "0" ? "" : "none"));
        QCOMPARE(m_fixture.logged(logged) > 0, !logged.isEmpty());
        QVERIFY(m_fixture.manager->loadFeatures());
        QCOMPARE(m_fixture.manager->installed().find("C")->version(), cVersion("1.0"));
    }
    void fetchesTheRuntimeInstead_data()
    {
        const Rows<QByteArray, QString, QString> row("runtime", "outcome", "logged");
        row("whole", runtime("setup.run"), "0", "");
        row("cut off", runtime("setup.run", "../~cut=+70/pkg/S"), "3 setup.run", "Connection closed");
        row("another", runtime("setup.run", "../pkg/A"), "3 setup.run", "match its hash");
        row("no hash", runtime("setup.run", "../pkg/S", ""), "3 setup.run", "no SHA-1 hash");
        row("out of the folder", runtime("../S"), "3 ../S", "name cannot be");
        row("onto what is the library's", runtime("Settings.json"), "3 Settings.json", "name cannot be");
    }
    void fetchesTheRuntimeInstead()
    {
        const auto [runtime, outcome, logged] = cells<QByteArray, QString, QString>("runtime", "outcome", "logged");
        m_fixture.write(dataPath("setup.run"), "before");
        offer("version='2.0' core_version='9.0'", runtime + feature(pluginA()));
        const bool isReady = outcome == "0";
        for (int i = 0; i < 2; ++i) {
            m_site.takeRequests();
            QCOMPARE(update(), outcome);
            QCOMPARE(contentOf("setup.run"), isReady ? bytesOf("S") : "before");
            QDir folder(dataPath(""));
            QCOMPARE(folder.entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name).first(), "setup.run");
            QCOMPARE(folder.count() - 2, logged == "Connection closed" ? 3U : 1U); // with the part and its origin
            QCOMPARE(contentOf("setup.run.part"), bytesOf("S").left(logged == "Connection closed" ? 70 * (i + 1) : 0));
            QCOMPARE(Corvane::restartSetupFilename(), isReady ? dataPath("setup.run") : QString("none"));
            QCOMPARE(m_fixture.logged(logged), isReady ? 0 : i + 1);
        }
        QVERIFY2(!isReady || !wereRequested("/pkg/S"), "it is there already");
        QCOMPARE(QFileInfo(dataPath("setup.run")).isExecutable(), isReady && Platform::hasUnixFiles());
    }
    void replacesAPendingUpdate()
    {
        offer("version='2.0'", feature(pluginA() + pluginB()));
        QCOMPARE(update(), "0");
        const QByteArray mark = contentOf("Dropbox/repository.xml");
        for (const char* name : {"A-1.00.000.zip.aB3dEf", "repository.xml.aaaaaa", "B-1.00.000.zip.part",
                                 "B-1.00.000-from-0.09.000.delta", "notes.txt", "mine.zip", "mine.zip.part"})
            m_fixture.write(dataPath("Dropbox/") + name, "left by others");
        m_site.takeRequests();
        offer("version='3.0' core_version='1.0'", feature(pluginA() + pluginB("x", "2.0")));
        QCOMPARE(update(), "3 B-2.00.000");
        QVERIFY2(contentOf("Dropbox/repository.xml") == mark, "the pending one stays");
        QVERIFY2(dropbox().contains(" B "), "the pending one stays");
        offer("version='3.0' core_version='1.0'", feature(pluginA() + pluginB("../pkg/B", "2.0")));
        QCOMPARE(update(), "0");
        QCOMPARE(dropbox(), QString("A B-2.00.000.zip mine.zip mine.zip.part notes.txt +"));
        QVERIFY2(!wereRequested("/pkg/A"), "what is there is not fetched again");
        cFeatureCatalogue update;
        QVERIFY(cCatalogueReader(update).read(contentOf("Dropbox/repository.xml")));
        QCOMPARE(update.name() + update.version().toString() + update.coreVersion().toString(),
                 QString("main3.00.0001.00.000"));
        const cFeaturePlugin& last = *update.find("C", cVersion("2.0"))->plugins().last();
        QCOMPARE(last.hash(), QCryptographicHash::hash(bytesOf("B"), QCryptographicHash::Sha1));
        QVERIFY2(last.sources().isEmpty(), "packages lie beside the description");
        QVERIFY2(last.size() == 1000, "packages lie beside the description");
    }
    void fetchesWhatIsKnownButGone()
    {
        const QByteArray known = plugin("K", package("A", {"../pkg/A"}));
        m_fixture.plugins.registerPlugin({"K", cVersion("1.0")});
        m_fixture.write("plugins/K-1.00.000/Manifest.xml", "<m/>");
        offer("version='2.0'", feature(known + pluginB()));
        cJsonValue result = IConfigMgr::doUpdateOn({});
        QCOMPARE(dropbox() + ' ' + QString::number(result["size"].toInt()), QString("B + 1000"));
        QVERIFY(QFile::remove(m_fixture.path("plugins/K-1.00.000/Manifest.xml")));
        result = IConfigMgr::doUpdateOn({});
        QCOMPARE(dropbox() + ' ' + QString::number(result["size"].toInt()), QString("B K + 2000"));
    }
    void discardsWhatTheSiteHasWithdrawn_data()
    {
        // What the site has afterwards; "-" for no site.
        const Rows<QByteArray, QString> row("repository", "found");
        row("nothing newer", "<r name='main' version='1.0'><feature name='C' version='1.0'/></r>", "other.zip");
        row("no answer", "-", "A A.part B other.zip +");
        row("an answer that cannot be read", "<r name='main' version='1.0'>", "A A.part B other.zip +");
        row("an answer of another kind", "<html><body/></html>", "A A.part B other.zip +");
        row("something newer", "<r name='main' version='3.0'><feature name='x'/></r>", "A A.part B other.zip +");
    }
    void discardsWhatTheSiteHasWithdrawn()
    {
        QFETCH(QByteArray, repository);
        offer("version='2.0'", feature(pluginA() + pluginB()));
        QCOMPARE(update(), "0");
        m_fixture.write(dataPath("Dropbox/other.zip"), "of somebody else");
        m_fixture.write(dataPath("Dropbox/A-1.00.000.zip.part"), "of a killed run");
        QVERIFY(m_site.write("repo/repository.xml", repository));
        if (repository == "-") // read from the settings at each check
            QVERIFY(IConfigMgr::setUpdateLocations({QUrl("http://127.0.0.1:1/")}));
        IConfigMgr::checkForUpdates();
        QTEST(dropbox(), "found");
        const bool isDiscarded = cLogCentral::history().last().message.contains("is discarded");
        QCOMPARE(isDiscarded, !dropbox().contains('+'));
    }
    void withdrawsAnUpdateWhosePackageIsReplaced()
    {
        offer("version='2.0'", feature(pluginA()));
        QCOMPARE(update(), "0");
        offer("version='2.1'", feature(plugin("A", package("S", {"../pkg/S"})) + pluginB("x")));
        QCOMPARE(update(), "3 B-1.00.000");
        QCOMPARE(dropbox(), QString("A"));
    }
    void ends_data()
    {
        const Rows<QString, QByteArray> row("at", "content");
        const QByteArray packages = feature(pluginA({"../~rate=2000/pkg/A"}) + pluginB("../~pause=0/pkg/B"));
        row("while it checks", "site.xml", packages);
        row("while it reads the repository", "repository.xml", packages);
        row("with the first package", "main-2.00.000", packages);
        row("with the runtime", "setup.run", runtime("setup.run", "../~trickle=1/pkg/S"));
    }
    void ends()
    {
        const auto [at, content] = cells<QString, QByteArray>("at", "content");
        offer("version='2.0'", content);
        connect(m_fixture.manager.data(), &cConfigurationMgr::progress, this,
                [at](const QString& name, qint64 received) {
                    if (name == at && (received > 300 || !name.startsWith("main")))
                        IConfigMgr::cancelUpdate();
                });
        QCOMPARE(update(), QString("1"));
        QVERIFY2(!dropbox().contains('+'), qPrintable(dropbox()));
        QVERIFY(!QFile::exists(dataPath("setup.run")));
        QCOMPARE(Corvane::restartSetupFilename(), QString("none"));
        QCOMPARE(m_fixture.logged("cancelled"), 1);
        QCOMPARE(m_fixture.logged(""), 1);
        m_fixture.manager->disconnect();
        // The next one goes on with what is there.
        const int there = contentOf("Dropbox/A-1.00.000.zip.part").size();
        QCOMPARE(there > 300, at.startsWith("main"));
        offer("version='2.0'", feature(pluginA({"../~rate=2000/pkg/A"})));
        QCOMPARE(IConfigMgr::doUpdateOn({})["fetched"].toInt(), 1000 - there);
        QCOMPARE(dropbox(), "A +");
    }
    void rebuildsFromWhatIsInstalled_data()
    {
        const Rows<QString, QByteArray, int, QString> row("changed", "delta", "requests", "logged");
        const QByteArray good = delta("D.delta", onSite("D.delta"));
        row("as it was unpacked", "", good, 0, "");
        row("a file with another date", "touched", good, 0, "");
        row("a changed file", "lib", good, 1, "");
        row("another version", "", delta("D.delta", onSite("D.delta"), "1.1"), 1, "");
        row("beside a part of the whole", "part", good, 1, "");
        row("no patch there", "", delta("none", "none"), 1, "answers 404");
        row("a patch cut off", "", delta("../~cut=+100/pkg/D.delta", onSite("D.delta")), 2, "Connection closed");
        row("another patch", "", delta("A", onSite("D.delta")), 1, "match its hash");
        row("no patch at all", "", delta("A", bytesOf("A")), 1, "Not rebuilt");
        row("a patch for another package", "", delta("E.delta", onSite("E.delta")), 1, "match the package's hash");
    }
    void rebuildsFromWhatIsInstalled()
    {
        const auto [changed, delta, requests, logged] =
            cells<QString, QByteArray, int, QString>("changed", "delta", "requests", "logged");
        installOld(changed);
        const QByteArray package = onSite("D.zip");
        const QByteArray hash = QCryptographicHash::hash(package, QCryptographicHash::Sha1).toHex();
        const auto offerFrom = [&, delta = delta](const QByteArray& source) {
            offer("version='2.0'",
                  feature("<plugin name='D' version='2.0' size='" + QByteArray::number(package.size()) + "'><source>" +
                          source + "</source><hash>" + hash + "</hash>" + delta + "</plugin>"));
        };
        offerFrom("x");
        const cJsonValue result = IConfigMgr::doUpdateOn({});
        QCOMPARE(result["result_code"].toInt(), requests > 0 ? 3 : 0);
        QVERIFY(requests > 0 || result["fetched"].toInt() == onSite("D.delta").size());
        m_site.takeRequests();
        offerFrom("../pkg/D.zip");
        QCOMPARE(update(), "0");
        QCOMPARE(m_site.takeRequests().filter("/pkg/").size(), requests);
        QVERIFY(contentOf("Dropbox/D-2.00.000.zip") == package);
        QCOMPARE(dropbox(), "D-2.00.000.zip +");
        QCOMPARE(m_fixture.logged("Not rebuilt"), logged.isEmpty() ? 0 : requests);
        QVERIFY(logged.isEmpty() || m_fixture.logged(logged) > 0);
    }
    void tellsOneBarAndDoesOneAtATime()
    {
        offer("version='2.0'", feature(pluginA() + pluginB()));
        QList<qint64> seen;
        int refused = 0;
        connect(m_fixture.manager.data(), &cConfigurationMgr::progress, this,
                [&](const QString& name, qint64 received, qint64 total) {
                    QVERIFY(name.endsWith(".xml") || (name == "main-2.00.000" && total == 2000));
                    if (!name.endsWith(".xml"))
                        seen << received;
                    QCOMPARE(update(), QString("4"));
                    QCOMPARE(IConfigMgr::checkForUpdates()["result_code"].toInt(), 4);
                    refused += 2;
                });
        QCOMPARE(IConfigMgr::checkForUpdates()["result_code"].toInt(), 0);
        QVERIFY(refused >= 4);
        QCOMPARE(update(), "0");
        QVERIFY(std::is_sorted(seen.begin(), seen.end()));
        QVERIFY(seen.contains(1000));
        QVERIFY(seen.last() == 2000);
        QCOMPARE(update(), "0");
        QCOMPARE(m_fixture.logged("a check or an update is under way"), refused);
    }

private:
    void offer(const QByteArray& attributes, const QByteArray& content)
    {
        QVERIFY(m_site.write("repo/repository.xml", "<r name='main' " + attributes + ">" + content + "</r>"));
    }
    QByteArray onSite(const QString& file) const { return readFile(m_site.folder() + "/pkg/" + file); }
    /// Installs D-1.00.000, before the file @p changed has become another one.
    void installOld(const QString& changed)
    {
        cFileRecord::Files files;
        for (const char* name : {"Manifest.xml", "lib"}) {
            const QString path = m_fixture.path(QString("plugins/D-1.00.000/") + name);
            m_fixture.write(path, readFile(m_site.folder() + "/old/" + name));
            QVERIFY(files[name].take(path, nullptr));
            if (changed == "touched")
                files[name].changed -= 1000;
            else if (changed == name)
                m_fixture.write(path, "changed");
        }
        if (changed == "part")
            m_fixture.write(dataPath("Dropbox/D-2.00.000.zip.part"), "");
        cFileRecord record;
        record.set({"D", cVersion("1.0")}, files);
        QVERIFY(record.write());
    }
    bool wereRequested(const QString& path) { return m_site.takeRequests().contains(path); }

    HttpSite m_site;
    UpdateFixture m_fixture;
};

QTEST_GUILESS_MAIN(tst_cUpdateApply)
#include "tst_cUpdateApply.moc"
