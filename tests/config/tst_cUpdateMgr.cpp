#include "config/cFeatureCatalogue.h"
#include "config/cRuntimeInfo.h"
#include "config/cUpdateMgr.h"

#include <HttpSite.h>
#include <LogFile.h>
#include <Rows.h>
#include <SettingsSandbox.h>

using Files = QMap<QString, QByteArray>;

/// A site whose entries are given as "config status platform update content".
static QByteArray site(const QStringList& entries)
{
    QString xml = "<any><other content='no'/>";
    for (const QString& entry : entries) {
        const QStringList words = entry.split(' ');
        xml += QString("<repository config='%1' status='%2' platform='%3' update='%4' content='%5'/>")
                   .arg(words[0], words[1], words[2], words[3], words[4]);
    }
    return xml.toUtf8() + "</any>";
}

/// A repository with a feature, and with a runtime package for each version.
static QByteArray repository(const QString& version, const QStringList& runtimes = {})
{
    QString xml = QString("<r version='%1'><feature><plugins><plugin><source>p.zip</source>").arg(version);
    xml += "</plugin></plugins></feature>";
    for (const QString& runtime : runtimes)
        xml += QString("<runtime version='%1' name='rt%1'><hash>0%2</hash><source>./%1.exe</source></runtime>")
                   .arg(runtime, runtime.right(1));
    return xml.toUtf8() + "</r>";
}

static const QString Fits = "release release x64 main r";

class tst_cUpdateMgr : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_site.isRunning()); }
    void findsTheNewestRepository_data()
    {
        // Where the locations are; what is found: version, source of the package, runtime; what the log says.
        const Rows<Files, QStringList, QString, QString> row("files", "locations", "found", "logged");
        const QByteArray one = site({Fits});
        row("one", {{"a/site.xml", one}, {"a/r/repository.xml", repository("2.0", {"1.2"})}}, {"a"},
            "2.00.000 /a/r/p.zip 1.02.000 rt1.2 02 /a/r/1.2.exe", "");
        row("paths fold",
            {{"a/site.xml", site({"release release x64 main ./x/../r//"})}, {"a/r/repository.xml", repository("2.0")}},
            {"a/"}, "2.00.000 /a/r/p.zip", "");
        row("what does not fit",
            {{"a/site.xml", site({"debug release x64 main r", "release beta x64 main r", "release release x86 main r",
                                  "release release x64 Main r", "Release release x64 main r"})},
             {"a/r/repository.xml", repository("2.0")}},
            {"a"}, "none", "None of 1 update locations has a repository \"main\" of status \"release\"");
        row("the newest, whatever the order",
            {{"a/site.xml",
              site({"release release x64 main 1", "release release x64 main 3", "release release x64 main 2"})},
             {"a/1/repository.xml", repository("1.0")},
             {"a/2/repository.xml", repository("2.9.9")},
             {"a/3/repository.xml", repository("3.0")}},
            {"a"}, "3.00.000 /a/3/p.zip", "");
        row("a tie stays with the earlier location",
            {{"a/site.xml", one},
             {"b/site.xml", one},
             {"a/r/repository.xml", repository("2.0")},
             {"b/r/repository.xml", repository("2.0.0")}},
            {"b", "a"}, "2.00.000 /b/r/p.zip", "");
        row("the newest runtime, the first of equal ones",
            {{"a/site.xml", one}, {"a/r/repository.xml", repository("2.0", {"1.0", "1.2", "1.02", "1.1"})}}, {"a"},
            "2.00.000 /a/r/p.zip 1.02.000 rt1.2 02 /a/r/1.2.exe", "");
        row("a runtime found on the way stays; an older repository gives none",
            {{"a/site.xml", one},
             {"b/site.xml", one},
             {"c/site.xml", one},
             {"a/r/repository.xml", repository("1.0", {"5.0"})},
             {"b/r/repository.xml", repository("2.0", {"4.0"})},
             {"c/r/repository.xml", repository("1.0", {"9.0"})}},
            {"a", "b", "c"}, "2.00.000 /b/r/p.zip 5.00.000 rt5.0 00 /a/r/5.0.exe", "");
        row("version 0.0.0 is not newer than nothing",
            {{"a/site.xml", one}, {"a/r/repository.xml", repository("0.0", {"1.0"})}}, {"a"}, "0.00.000", "");
        row("a site is absent, is no XML, is too deep, too long, broken",
            {{"a/site.xml", "<a>"},
             {"b/site.xml", QByteArray("<r>").repeated(1000000)},
             {"c/site.xml", one},
             {"d/site.xml", one},
             {"d/r/repository.xml", repository("2.0")}},
            {"absent", "a", "b", "~promise=300000000/c", "~cut=9/c", "~status=500/c", "~chunked/~cut=70/c", "d"},
            "2.00.000 /d/r/p.zip",
            "site.xml\" \"the server answers 404 Not Found|No site description: * line 1, column 4: |line 1, column "
            "3003: |"
            "more bytes than are accepted|Connection closed|500 By Request|c/site.xml");
        row("no repository can be fetched",
            {{"a/site.xml", one}, {"b/site.xml", one}, {"b/r/repository.xml", "<r version='9'>"}}, {"a", "b"},
            "0.00.000",
            "a/r/repository.xml\" \"the server answers 404|No repository description: * line 1, column 16: ");
        row("no locations", {}, {}, "none", "None of 0 update locations");
    }
    void findsTheNewestRepository()
    {
        QFETCH(Files, files);
        QFETCH(QStringList, locations);
        QFETCH(QString, logged);
        setUp(files, locations);
        cUpdateMgr manager;
        manager.loadLocations();
        QStringList names;
        connect(&manager, &cUpdateMgr::progress, this, [&](const QString& name) { names << name; });
        QTEST(find(manager), "found");
        names.removeDuplicates();
        QVERIFY(names == QStringList({"site.xml", "repository.xml"}).mid(0, names.size()));
        const QStringList lines = m_log->lines().split('\n', Qt::SkipEmptyParts);
        const QStringList expected = logged.split('|', Qt::SkipEmptyParts);
        QVERIFY2(lines.size() == expected.size(), qPrintable(m_log->content()));
        for (int i = 0; i < lines.size(); ++i) {
            for (const QString& part : expected[i].split(" * "))
                QVERIFY2(lines[i].startsWith("[ConfigurationMgr]") && lines[i].contains(part), qPrintable(lines[i]));
        }
    }
    void takesTheStatusFromTheSettings()
    {
        setUp({{"a/site.xml", site({"release beta x64 main r", "release release x64 main s"})},
               {"a/r/repository.xml", repository("1.0")},
               {"a/s/repository.xml", repository("2.0")}},
              {"a"});
        m_sandbox.setMachineValue("ConfigMgr/RepositoryStatus", "beta");
        cUpdateMgr manager;
        manager.loadLocations();
        QCOMPARE(find(manager), QString("1.00.000 /a/r/p.zip"));
        m_sandbox.removeMachineValue("ConfigMgr/RepositoryStatus");
        QCOMPARE(find(manager), QString("2.00.000 /a/s/p.zip"));
    }
    void survivesWhatHappensMeanwhile_data()
    {
        const Rows<QString, QString, int> row("event", "found", "requests");
        row("cancelled", "cancel", "none", 3);
        row("destroyed", "destroy", "none", 3);
        row("asked for another one", "search", "2.00.000 /b/r/p.zip", 4);
        row("the locations are loaded anew", "load", "2.00.000 /b/r/p.zip", 4);
    }
    void survivesWhatHappensMeanwhile()
    {
        QFETCH(QString, event);
        QFETCH(int, requests);
        setUp({{"a/site.xml", site({Fits})},
               {"b/site.xml", site({Fits})},
               {"a/r/repository.xml", repository("1.0")},
               {"b/r/repository.xml", repository("2.0")}},
              {"a", "b"});
        auto* manager = new cUpdateMgr;
        const QPointer<cUpdateMgr> guard(manager);
        manager->loadLocations();
        connect(manager, &cUpdateMgr::progress, manager, [&](const QString& name) {
            if (name != "repository.xml")
                return;
            QSettings().remove("UpdateMgr");
            if (event == "cancel")
                manager->cancel();
            else if (event == "destroy")
                delete manager;
            else if (event == "search")
                QCOMPARE(find(*manager), QString("none"));
            else
                manager->loadLocations();
            event += " done";
        });
        QTEST(find(*manager), "found");
        QVERIFY(event.endsWith(" done"));
        QCOMPARE(m_site.takeRequests().size(), requests);
        QCOMPARE(guard.isNull(), event.startsWith("destroy"));
        QCOMPARE(m_log->content().count("search for a newer repository"), event.startsWith("load") ? 0 : 1);
        if (guard) {
            QCOMPARE(guard->isCancelled(), event.startsWith("cancel"));
            delete manager;
        }
    }

private:
    void setUp(const Files& files, const QStringList& locations)
    {
        m_log.reset();
        m_log.reset(new LogFile);
        QDir(m_site.folder()).removeRecursively();
        for (auto it = files.begin(); it != files.end(); ++it)
            QVERIFY(m_site.write(it.key(), it.value()));
        QSettings settings;
        settings.remove("UpdateMgr");
        for (int i = 0; i < locations.size(); ++i)
            settings.setValue(QString("UpdateMgr/Locations/%1").arg(i), QVariantMap{{"url", m_site.url(locations[i])}});
        m_site.takeRequests();
    }

    /// "none", or the version that was found, the source of its first package and its runtime.
    static QString find(cUpdateMgr& manager)
    {
        cFeatureCatalogue catalogue;
        cRuntimeInfo runtime;
        if (!manager.findNewest("main", catalogue, runtime))
            return catalogue.isEmpty() && runtime.name().isEmpty() ? "none" : "none, yet something was filled";
        QStringList found{catalogue.version().toString()};
        if (!catalogue.isEmpty()) {
            const cFeatureSource source = catalogue.features().first()->plugins().first()->sources().first();
            found << source.location->resolve(source.source).path();
        }
        if (!runtime.name().isEmpty())
            found << runtime.version().toString() << runtime.name() << runtime.hash().toHex()
                  << runtime.source().path();
        return found.join(' ');
    }

    SettingsSandbox m_sandbox;
    HttpSite m_site;
    QScopedPointer<LogFile> m_log;
};

QTEST_GUILESS_MAIN(tst_cUpdateMgr)
#include "tst_cUpdateMgr.moc"
