#include "UpdateFixture.h"

#include "config/cCatalogueReader.h"

#include <HttpSite.h>

#include <QtCore/QCryptographicHash>

namespace {

QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
}

/// What the site has as pkg/NAME: a thousand bytes.
QByteArray bytesOf(const QByteArray& name)
{
    return name.leftJustified(1000, '.');
}

/// A plugin of the repository with everything right unless it is given.
QByteArray plugin(const QByteArray& name, const QByteArrayList& sources = {"../pkg/A"},
                  const QByteArray& hash = sha1(bytesOf("A")), const QByteArray& version = "1.0")
{
    QByteArray xml = "<plugin name='" + name + "' version='" + version + "' size='1000'>";
    for (const QByteArray& source : sources)
        xml += "<source>" + source + "</source>";
    return xml + "<hash method='sha1'>" + hash + "</hash></plugin>";
}

QByteArray pluginB(const QByteArray& source = "../pkg/B", const QByteArray& version = "1.0")
{
    return plugin("B", {source}, sha1(bytesOf("B")), version);
}

QByteArray feature(const QByteArray& plugins)
{
    return "<feature name='C' version='2.0'><displayname>See</displayname><plugins>" + plugins + "</plugins></feature>";
}

QByteArray runtime(const QByteArray& name, const QByteArray& source = "../pkg/S",
                   const QByteArray& hash = sha1(bytesOf("S")))
{
    return "<runtime version='1.0' name='" + name + "'><hash>" + hash + "</hash><source>" + source +
           "</source></runtime>";
}

QByteArray contentOf(const QString& path)
{
    return Corvane::FileReadAll(path, nullptr);
}

QString dataPath(const QString& name)
{
    return Corvane::velmiraFolderOrFile(Corvane::DataFolder) + "/" + name;
}

/// The files of the Dropbox, and whether they are what was sent.
QString dropbox()
{
    QStringList files;
    for (const QString& name : QDir(dataPath("Dropbox")).entryList(QDir::Files | QDir::Hidden, QDir::Name)) {
        const QByteArray bytes = contentOf(dataPath("Dropbox/" + name));
        const bool isWrong = name.endsWith(".zip") && bytes.size() != 1000;
        files << (isWrong ? "broken " : "") + name;
    }
    return files.join(' ');
}

/// "result_code", and "failed" where it is there.
QString outcome(const cJsonValue& result)
{
    const QString code = UpdateFixture::text(result["result_code"]);
    return result.contains("failed") ? code + " " + result["failed"].toString() : code;
}

QString update()
{
    return outcome(IConfigMgr::doUpdateOn(QStringList()));
}

} // namespace

/// Fetching what a check found: what lies where afterwards, however it went.
class tst_cUpdateApply : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_site.isRunning());
        for (const char* name : {"A", "B", "S"})
            QVERIFY(m_site.write(QString("pkg/") + name, bytesOf(name)));
        QVERIFY(m_site.write("site.xml", "<s><repository config='release' status='release' platform='x64' "
                                         "update='main' content='repo'/></s>"));
    }
    void init()
    {
        m_fixture.reset(QTest::currentTestFunction() + QByteArray(QTest::currentDataTag()));
        m_fixture.useSite(m_site.url());
        m_fixture.setInstalled(Installed);
        m_since = cLogCentral::history().size();
        requested();
    }
    void fetchesPackages_data()
    {
        const Rows<QByteArray, QString, QString, QString> row("plugins", "outcome", "dropbox", "logged");
        const QString both = "A-1.00.000.zip B-1.00.000.zip repository.xml";
        const QString one = "A-1.00.000.zip repository.xml";
        row("all", plugin("A") + pluginB(), "0", both, "");
        row("nothing but the description", "", "0", "repository.xml", "");
        row("not at the first source", plugin("A", {"x", "../pkg/A"}), "0", one, "answers 404");
        row("cut off at the first", plugin("A", {"../~cut=700/pkg/A", "../pkg/A"}), "0", one, "Connection closed");
        row("too long", plugin("A", {"../~fill=300000000/pkg/A", "../pkg/A"}), "0", one, "more bytes");
        row("something else at the first", plugin("A", {"../pkg/B", "../pkg/A"}), "0", one, "match its hash");
        row("an absolute source", plugin("A", {m_site.url("pkg/A").toEncoded()}), "0", one, "");
        row("sent on", plugin("A", {"../~redirect/pkg/A"}), "0", one, "");
        row("nowhere", plugin("A") + pluginB("x"), "3 B-1.00.000", "A-1.00.000.zip", "answers 404");
        row("matching nowhere", plugin("A", {"../pkg/B", "../pkg/S"}), "3 A-1.00.000", "", "match its hash");
        row("no hash", plugin("A", {"../pkg/A"}, ""), "3 A-1.00.000", "", "no hash");
        row("no source", plugin("A", {}), "3 A-1.00.000", "", "no source");
        row("out of the folder", plugin("A") + plugin("../../x"), "3 ../../x-1.00.000", "", "be a file name");
        row("into a folder", plugin("x/A"), "3 x/A-1.00.000", "", "be a file name");
        row("into a folder elsewhere", plugin("x\\A"), "3 x\\A-1.00.000", "", "be a file name");
        row("to a device", plugin("com1.x"), "3 com1.x-1.00.000", "", "be a file name");
        row("no name", plugin(""), "3 -1.00.000", "", "be a file name");
    }
    void fetchesPackages()
    {
        QFETCH(QByteArray, plugins);
        QFETCH(QString, outcome);
        QFETCH(QString, logged);
        setRepository("version='2.0'", feature(plugins));
        QCOMPARE(update(), outcome);
        QTEST(dropbox(), "dropbox");
        QCOMPARE(Corvane::restartSetupFilename(), QString(outcome == "0" ? "" : "none"));
        QCOMPARE(contentOf(m_fixture.path("plugins/features.xml")), "<r>" + QByteArray(Installed) + "</r>");
        QVERIFY(logged.isEmpty() || UpdateFixture::logged(logged, m_since) > 0);
        QVERIFY(outcome != "0" || logged != "" || UpdateFixture::logged("", m_since) == 0);
    }
    void describesTheUpdate()
    {
        setRepository("version='2.0' core_version='1.0'", feature(plugin("A") + pluginB()));
        QCOMPARE(update(), "0");
        cFeatureCatalogue mark;
        QVERIFY(cCatalogueReader(mark).read(contentOf(dataPath("Dropbox/repository.xml"))));
        const QString root = mark.name() + mark.version().toString() + mark.coreVersion().toString();
        QCOMPARE(root, QString("main2.00.0001.00.000"));
        const auto feature = mark.find("C", cVersion("2.0"));
        QVERIFY(mark.features().size() == 1 && feature && feature->plugins().size() == 2);
        QCOMPARE(feature->repository() + feature->displayNames().first(), QString("mainSee"));
        QCOMPARE(feature->plugins().last()->hash().toHex(), sha1(bytesOf("B")));
        QVERIFY2(feature->plugins().last()->sources().isEmpty(), "the packages lie beside it");
    }
    void answersLikeTheCheck_data()
    {
        const Rows<QByteArray, QByteArray, QString> row("root", "content", "outcome");
        row("a core that is too old", "version='2.0' core_version='1.0.1'", feature(plugin("A")), "3 core_version");
        row("nothing newer", "version='1.0'", Installed, "2");
        row("a feature is missing", "version='2.0'", "<feature name='x'/>", "5");
    }
    void answersLikeTheCheck()
    {
        QFETCH(QByteArray, root);
        QFETCH(QByteArray, content);
        setRepository(root, content);
        QTEST(update(), "outcome");
        QCOMPARE(dropbox(), QString());
        QVERIFY(!requested().contains("/pkg/"));
    }
    void fetchesTheRuntimeInstead_data()
    {
        const Rows<QByteArray, QString, QString> row("runtime", "outcome", "logged");
        row("whole", runtime("setup.run"), "0", "");
        row("cut off", runtime("setup.run", "../~cut=700/pkg/S"), "3 setup.run", "Connection closed");
        row("another", runtime("setup.run", "../pkg/A"), "3 setup.run", "match its hash");
        row("no hash", runtime("setup.run", "../pkg/S", ""), "3 setup.run", "no hash");
        row("out of the folder", runtime("../S"), "3 ../S", "name cannot be");
        row("onto what is the library's", runtime("Settings.json"), "3 Settings.json", "name cannot be");
        row("onto the Dropbox", runtime("dropbox"), "3 dropbox", "name cannot be");
    }
    void fetchesTheRuntimeInstead()
    {
        QFETCH(QByteArray, runtime);
        QFETCH(QString, outcome);
        QFETCH(QString, logged);
        QVERIFY(QDir().mkpath(dataPath("")));
        const QByteArray before = bytesOf("before");
        QFile old(dataPath("setup.run"));
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write(before) == before.size() && old.flush());
        setRepository("version='2.0' core_version='9.0'", runtime + feature(plugin("A")));
        const bool isReady = outcome == "0";
        for (int i = 0; i < 2; ++i) {
            requested();
            QCOMPARE(update(), outcome);
            QCOMPARE(contentOf(old.fileName()), isReady ? bytesOf("S") : before);
            QCOMPARE(QDir(dataPath("")).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot).join(' '),
                     QString("setup.run"));
            QCOMPARE(Corvane::restartSetupFilename(), isReady ? old.fileName() : QString("none"));
        }
        QVERIFY(!isReady || (!requested().contains("/pkg/") && QFileInfo(old.fileName()).isExecutable()));
        QCOMPARE(UpdateFixture::logged(logged, m_since), isReady ? 0 : 2);
    }
    void fetchesOnlyWhatIsNotThere()
    {
        setRepository("version='2.0'", feature(plugin("A") + pluginB("x")));
        QCOMPARE(update(), "3 B-1.00.000");
        setRepository("version='2.0'", feature(plugin("A") + pluginB()));
        requested();
        QCOMPARE(update(), "0");
        QVERIFY(requested().contains("/pkg/B") && !m_requests.contains("/pkg/A"));

        m_fixture.write(QDir(m_fixture.path("")).relativeFilePath(dataPath("Dropbox/B-1.00.000.zip")), "damaged");
        QCOMPARE(update(), "0");
        QVERIFY(requested().contains("/pkg/B") && !m_requests.contains("/pkg/A"));
        QCOMPARE(dropbox(), QString("A-1.00.000.zip B-1.00.000.zip repository.xml"));
    }
    void replacesAPendingUpdate()
    {
        setRepository("version='2.0'", feature(plugin("A") + pluginB()));
        QCOMPARE(update(), "0");
        const QByteArray mark = contentOf(dataPath("Dropbox/repository.xml"));
        for (const char* name : {"A-1.00.000.zip.aB3dEf", "repository.xml.aaaaaa", "notes.txt"})
            m_fixture.write(QDir(m_fixture.path("")).relativeFilePath(dataPath("Dropbox/") + name), "left");

        setRepository("version='3.0'", feature(plugin("A") + pluginB("x", "2.0")));
        QCOMPARE(update(), "3 B-2.00.000");
        QVERIFY2(contentOf(dataPath("Dropbox/repository.xml")) == mark, "what fails leaves the pending one alone");
        QVERIFY(dropbox().contains("B-1.00.000.zip"));

        setRepository("version='3.0'", feature(plugin("A") + pluginB("../pkg/B", "2.0")));
        QCOMPARE(update(), "0");
        QCOMPARE(dropbox(), QString("A-1.00.000.zip B-2.00.000.zip notes.txt repository.xml"));
    }
    void withdrawsAnUpdateWhosePackageIsReplaced()
    {
        setRepository("version='2.0'", feature(plugin("A")));
        QCOMPARE(update(), "0");
        setRepository("version='2.1'", feature(plugin("A", {"../pkg/S"}, sha1(bytesOf("S"))) + pluginB("x")));
        QCOMPARE(update(), "3 B-1.00.000");
        QCOMPARE(dropbox(), QString("A-1.00.000.zip"));
    }
    void ends_data()
    {
        const Rows<QString, QByteArray> row("at", "content");
        const QByteArray packages = feature(plugin("A", {"../~trickle=1/pkg/A"}) + pluginB());
        row("while it checks", "site.xml", packages);
        row("while it reads the repository", "repository.xml", packages);
        row("with the first package", "main-2.00.000", packages);
        row("with the runtime", "setup.run", runtime("setup.run", "../~trickle=1/pkg/S"));
    }
    void ends()
    {
        QFETCH(QString, at);
        QFETCH(QByteArray, content);
        setRepository("version='2.0'", content);
        connect(m_fixture.manager.data(), &cConfigurationMgr::progress, this, [at](const QString& name) {
            if (name == at)
                IConfigMgr::cancelUpdate();
        });
        const cJsonValue result = IConfigMgr::doUpdateOn({});
        QCOMPARE(outcome(result), QString("1"));
        QCOMPARE(dropbox(), QString());
        QVERIFY(!QFile::exists(dataPath("setup.run")) && !QFile::exists(dataPath("setup.run.part")));
        QCOMPARE(Corvane::restartSetupFilename(), QString("none"));
        QCOMPARE(UpdateFixture::logged("cancelled", m_since), 1);

        m_fixture.manager->disconnect();
        setRepository("version='2.0'", feature(plugin("A")));
        QCOMPARE(update(), QString("0"));
    }
    void tellsOneBar()
    {
        m_fixture.reset("bar");
        m_fixture.useSite(m_site.url());
        m_fixture.setInstalled(Installed);
        setRepository("version='2.0'", feature(plugin("A") + pluginB()));
        QList<qint64> seen;
        QStringList within;
        connect(m_fixture.manager.data(), &cConfigurationMgr::progress, this,
                [&](const QString& name, qint64 received, qint64 total) {
                    if (name.endsWith(".xml"))
                        return;
                    QVERIFY(name == "main-2.00.000" && total == 2000);
                    seen << received;
                    within << update();
                });
        QCOMPARE(update(), "0");
        QVERIFY(std::is_sorted(seen.begin(), seen.end()) && seen.contains(1000));
        QCOMPARE(seen.last(), 2000LL);
        QCOMPARE(within.count("4"), within.size());
        m_fixture.manager->onProgress("site.xml", 3, 4);
    }

private:
    static constexpr char Installed[] = "<feature name='C' version='1.0' repository='main'/>";

    void setRepository(const QByteArray& attributes, const QByteArray& content)
    {
        QVERIFY(m_site.write("repo/repository.xml", "<r name='main' " + attributes + ">" + content + "</r>"));
    }
    QString requested() { return m_requests = m_site.takeRequests().join(' '); }

    HttpSite m_site;
    UpdateFixture m_fixture;
    QString m_requests;
    int m_since = 0;
};

QTEST_GUILESS_MAIN(tst_cUpdateApply)
#include "tst_cUpdateApply.moc"
