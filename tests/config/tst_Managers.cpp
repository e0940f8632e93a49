#include "UpdateFixture.h"

#include <MachineProgram.h>
#include <Platform.h>

static const char TwoFeatures[] =
    "<r name='main' version='1.2'><feature name='Core' active='true'><displayname lang='de'>Kern</displayname><plugins>"
    "<plugin name='A' version='1.0'/><plugin name='B' version='2.0'/></plugins></feature>"
    "<feature name='Extra'><plugins><plugin name='A' version='1.0'/><plugin name='C'/></plugins></feature></r>";

/// The configuration manager with its facade, and the update manager.
class tst_Managers : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture.begin();
        m_fixture.manager->setInstalled(cFeatureCatalogue());
    }
    void publishesWhatIsInMemory()
    {
        QVERIFY(QFile::remove(m_fixture.path("plugins/features.xml")));
        // The host's own setting must make no difference: every feature here is of another repository.
        QSettings().setValue("ConfigMgr/RepositoryName", "elsewhere");
        QVERIFY(m_manager->publishInstalledPlugins());
        QVERIFY(m_manager->publishInstalledPlugins());
        QCOMPARE(m_fixture.logged("does not exist"), 1);
        writeFeatures("<r>\n<feature></r>");
        QVERIFY(m_manager->publishInstalledPlugins());
        QVERIFY(m_fixture.plugins.plugins().isEmpty());
        QCOMPARE(m_fixture.logged("line 2, column 13: "), 1);

        writeFeatures(TwoFeatures);
        QVERIFY(m_manager->publishInstalledPlugins());
        writeFeatures(
            "<r><feature><plugins><plugin name='A'/><plugin name='A' version='1.0'/></plugins></feature></r>");
        QVERIFY(m_manager->publishInstalledPlugins());
        const cPluginId b("B", cVersion("2.0"));
        QVERIFY(m_fixture.plugins.isKnown(b, cSeededHash()(b)));
        QVERIFY(m_manager->loadFeatures());
        QVERIFY(!m_manager->publishInstalledPlugins());
        QVERIFY2(m_fixture.plugins.plugins().size() == 3, "a clash leaves the plugin manager alone");
    }
    void writesTheFeaturesFile()
    {
        m_fixture.sandbox.setMachineValue("ConfigMgr/RepositoryVersion", "7.08.009");
        const auto feature = QSharedPointer<cFeatureInstance>::create("Core", cVersion("1.0"), false, "main");
        QVERIFY(m_manager->saveFeatures({feature}));
        QVERIFY(m_manager->saveFeatures({feature}));
        QVERIFY(m_manager->loadFeatures());
        QCOMPARE(m_manager->installed().version().toString(), QString("7.08.009"));

        const QString path = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
        QVERIFY2(Corvane::FileReadAll(path, nullptr).contains("?>" + Platform::lineEnd().toLatin1() + "<repository"),
                 "it is a text file");
        QVERIFY(QFile::remove(path));
        QVERIFY(QDir().mkpath(path));
        QVERIFY(!m_manager->saveFeatures({feature}));
        QCOMPARE(m_fixture.logged("Cannot write the features file"), 1);
    }
    void tellsADamagedCatalogueFromNone_data()
    {
        // What stands where the features file should be: its content, " " for none in it, "/" for a folder, "|" for a
        // pipe.
        const Rows<QByteArray, QString> row("content", "fault");
        const QByteArray whole(TwoFeatures);
        row("none", "", "");
        row("whole, under any name of the root", whole, "");
        row("whole and empty", "<r/>", "");
        row("empty", " ", "line 1, column 1: unexpected end of file");
        row("cut short", whole.left(whole.indexOf("</feature>")), "line 1, column ");
        row("cut short to its beginning", "<repository version='1.0'>\n", "line 2, column ");
        row("of another kind", "<?xml version='1.0' encoding=\"utf-8\"?>\n\n <html>\n<body/></html>",
            "line 3, column 7: a document of another kind, its root is ");
        row("folder", "/", "cannot be read: this is a folder");
        if (Platform::hasUnixFiles())
            row("pipe", "|", "cannot be read: this is no file");
    }
    void tellsADamagedCatalogueFromNone()
    {
        const auto [content, fault] = cells<QByteArray, QString>("content", "fault");
        const QString file = m_fixture.path("plugins/features.xml");
        writeFeatures(TwoFeatures);
        QVERIFY(m_manager->loadFeatures());
        QVERIFY(QFile::remove(file));
        if (content == "/")
            QVERIFY(QDir().mkpath(file));
        else if (content == "|")
            QVERIFY(MachineProgram::execute("mkfifo", {file}) == 0);
        else if (!content.isEmpty())
            writeFeatures(content == " " ? QByteArray() : content);
        QCOMPARE(m_manager->loadFeatures(), !content.isEmpty() && fault.isEmpty());
        const QString found = m_manager->catalogueFault();
        QCOMPARE(found.left(file.size() + 2 + fault.size()), fault.isEmpty() ? fault : file + ": " + fault);
        QCOMPARE(m_fixture.logged(found.toUtf8()), content.isEmpty() || !fault.isEmpty());
        // The last whole one stays, also when there is none any more.
        const QByteArray last = fault.isEmpty() && !content.isEmpty() ? content : QByteArray(TwoFeatures);
        QCOMPARE(Corvane::FileReadAll(m_fixture.path("plugins/features.last.xml"), nullptr), last);
    }
    void addsUpProgress()
    {
        QSignalSpy spy(m_manager.data(), SIGNAL(progress(QString, qint64, qint64)));
        m_manager->setOverallProgress("all", 100, 1000);
        m_manager->onProgress("a.zip", 1, 2);
        m_manager->setOverallProgress("all", 100, 0);
        m_manager->onProgress("a.zip", 3, 4);
        m_manager->setOverallProgress("", 100, 1000);
        m_manager->onProgress("b.zip", 5, -1);
        const QList<QVariantList> expected{{"all", 101LL, 1000LL}, {"a.zip", 3LL, 4LL}, {"b.zip", 5LL, -1LL}};
        QCOMPARE(QList<QVariantList>(spy), expected);

        m_manager->connectProgressSlot(nullptr, SLOT(x()));
        m_manager->connectProgressSlot(this, nullptr);
        m_manager->connectProgressSlot(this, SLOT(noSuchSlot(QString)));
        QCOMPARE(m_fixture.logged("Progress is not connected: no receiver"), 3);
    }
    void resolvesPathsOfALocation_data()
    {
        const Rows<QString, QString, QString> row("url", "path", "resolved");
        row("dots and double slashes fold", "http://h//a/b", "./c//../../d/", "http://h/a/d");
        row("query, user and port stay", "http://u@h:81?k=v#f", "x", "http://u@h:81/x?k=v#f");
        row("percent signs and spaces", "http://h/50%25%20off", "a%b c", "http://h/50%25%20off/a%25b%20c");
        row("not resolved as a URL", "http://h/s", "http://other/x", "http://h/s/http:/other/x");
        row("drive", "file:///C:/a b/", "c/..", "file:///C:/a%20b");
        row("share", "file://server/share", "../a", "file://server/a");
        row("share as a path", "file:////server/share/a", "../b",
            Platform::hasUnixFiles() ? "file:///server/share/b" : "file:////server/share/b");
    }
    void resolvesPathsOfALocation()
    {
        const auto [url, path] = cells<QString, QString>("url", "path");
        QTEST(cUpdateLocation(QUrl(url)).resolve(path).toString(QUrl::FullyEncoded), "resolved");
    }
    void loadsLocationsInKeyOrder()
    {
        QSettings settings;
        settings.remove("UpdateMgr");
        settings.setValue("UpdateMgr/Locations/b", QVariantMap{{"url", QUrl("http://b")}, {"priority", -3}});
        settings.setValue("UpdateMgr/Locations/a", QVariantMap{{"url", "http://a"}, {"priority", "9"}});
        settings.setValue("UpdateMgr/Locations/nested/c", QVariantMap{{"priority", "high"}});
        settings.setValue("UpdateMgr/Locations/text", "http://d");
        cUpdateMgr manager;
        QStringList found;
        for (int i = 0; i < 2; ++i)
            manager.loadLocations();
        for (const auto& location : manager.locations())
            found << location->url().toString() + " " + QString::number(location->priority());
        QCOMPARE(found, (QStringList{"http://a 9", "http://b -3", " 0", " 0"}));
    }
    void keepsTheLocationsThatAreSet()
    {
        const cUpdateMgr manager;
        QList<QUrl> urls;
        for (int number = 0; number < 11; ++number)
            urls.prepend(QUrl(QString("http://h/%1?a b").arg(number)));
        QVERIFY(IConfigMgr::setUpdateLocations(urls));
        QCOMPARE(IConfigMgr::updateLocations(), urls);
        QCOMPARE(manager.locations().size(), urls.size());
        QVERIFY(IConfigMgr::setUpdateLocations({}));
        QCOMPARE(IConfigMgr::updateLocations(), QList<QUrl>());
    }
    void answersThroughTheFacadeUntilItEnds()
    {
        writeFeatures(TwoFeatures);
        QVERIFY(m_manager->loadFeatures());
        const cFeatureInfo core = IConfigMgr::installedFeatures().first();
        const QStringList texts{core.name, core.version.toString(), core.repository, core.displayNames.value("de")};
        QCOMPARE(texts + core.plugins, QString("Core 0.00.000 main Kern A-1.00.000 B-2.00.000").split(' '));
        QVERIFY(core.active);
        QVERIFY(IConfigMgr::isFeatureInstalled("Extra"));
        QVERIFY(!IConfigMgr::isFeatureInstalled("core"));

        m_manager.reset();
        QVERIFY(!IConfigMgr::isFeatureInstalled("Core"));
        QVERIFY(IConfigMgr::installedFeatures().isEmpty());
        IConfigMgr::connectProgressSlot(this, SLOT(init()));
        QCOMPARE(m_fixture.logged("the library is not initialized"), 1);
    }

private:
    void writeFeatures(const QByteArray& xml) const { m_fixture.write("plugins/features.xml", xml); }

    UpdateFixture m_fixture;
    QScopedPointer<cConfigurationMgr>& m_manager = m_fixture.manager;
};

QTEST_GUILESS_MAIN(tst_Managers)
#include "tst_Managers.moc"
