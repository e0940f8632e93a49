#include "config/cFeatureCatalogue.h"
#include "config/cUpdateMgr.h"

#include <HttpSite.h>
#include <LogFile.h>
#include <Rows.h>
#include <SettingsSandbox.h>

/// A site; an entry is a path, or "config,status,platform,update,path".
static QByteArray site(const QString& entries)
{
    QString xml = "<any><other content='no'/>";
    for (const QString& entry : entries.split(' ')) {
        const QStringList words = (entry.contains(',') ? entry : "release,release,x64,main," + entry).split(',');
        xml += QString("<repository config='%1' status='%2' platform='%3' update='%4' content='%5'/>")
                   .arg(words[0], words[1], words[2], words[3], words[4]);
    }
    return xml.toUtf8() + "</any>";
}

/// A repository with one package, and a runtime for each version that follows its own.
static QByteArray repository(const QString& versions)
{
    QStringList runtimes = versions.split(' ');
    QString xml =
        QString("<r version='%1'><feature><plugins><plugin><source>p.zip</source></plugin></plugins></feature>")
            .arg(runtimes.takeFirst());
    for (const QString& runtime : runtimes)
        xml += QString("<runtime version='%1' name='rt%1'><hash>0%2</hash><source>./%1.exe</source></runtime>")
                   .arg(runtime, runtime.right(1));
    return xml.toUtf8() + "</r>";
}

class tst_cUpdateMgr : public QObject
{
    Q_OBJECT

private slots:
    void findsTheNewestRepository_data()
    {
        // "folder: entries" is a site, "folder versions" a repository, "file=text" anything. What is found is a
        // version, the source of its package and the runtime; what is logged are lines.
        const Rows<QString, QString, QString, QString> row("files", "locations", "found", "logged");
        const QString none = "No update site has a repository \"main\" of the status \"release\"";
        row("one", "a: r|a/r 2.0 1.2", "a", "2.00.000 /a/r/p.zip 1.02.000 rt1.2 02 /a/r/1.2.exe", "");
        row("paths fold", "a: ./x/../r//|a/r 2.0", "a/", "2.00.000 /a/r/p.zip", "");
        row("what does not fit",
            "a: debug,release,x64,main,r release,beta,x64,main,r release,release,x86,main,r release,release,x64,Main,r "
            "Release,release,x64,main,r|a/r 2.0",
            "a", "none", none);
        row("the newest", "a: 1 3 2|a/1 1.0|a/2 2.9.9|a/3 3.0", "a", "3.00.000 /a/3/p.zip", "");
        row("a tie stays with the earlier", "a: r|b: r|a/r 2.0|b/r 2.0.0", "b a", "2.00.000 /b/r/p.zip", "");
        row("the newest runtime, the first of equal ones", "a: r|a/r 2.0 1.0 1.2 1.02 1.1", "a",
            "2.00.000 /a/r/p.zip 1.02.000 rt1.2 02 /a/r/1.2.exe", "");
        row("a runtime found on the way stays; what is not newer gives none",
            "a: r|b: r|c: r|a/r 1.0 5.0|b/r 2.0 4.0|c/r 1.0 9.0", "a b c",
            "2.00.000 /b/r/p.zip 5.00.000 rt5.0 00 /a/r/5.0.exe", "");
        row("0.0.0 is not newer than nothing", "a: r|a/r 0.0 1.0", "a", "0.00.000", "");
        row("broken sites", "a/site.xml=<a>|c: r|d: r|d/r 2.0",
            "b a deep ~promise=300000000/c ~cut=9/c ~status=500/c ~chunked/~cut=+31/c d", "2.00.000 /d/r/p.zip",
            "b/site.xml: the server answers 404 Not Found|No site description: * line 1, column 4: |"
            "line 1, column 3003: |more bytes than are accepted|Connection closed|500 By Request|c/site.xml");
        row("no repository can be read", "a: r|b: r|b/r/repository.xml=<r version='9.0'>", "a b", "0.00.000",
            "a/r/repository.xml: the server answers 404|No repository description: * line 1, column 18: ");
        row("no locations", "", "", "none", "There is no update site in the settings");
    }
    void findsTheNewestRepository()
    {
        const auto [files, locations, logged] = cells<QString, QString, QString>("files", "locations", "logged");
        setUp(files, locations);
        QVERIFY(m_site.write("deep/site.xml", QByteArray("<r>").repeated(1000000)));
        QStringList names;
        connect(m_manager, &cUpdateMgr::progress, this, [&](const QString& name) { names << name; });
        QTEST(find(), "found");
        names.removeDuplicates();
        QCOMPARE(names, QStringList({"site.xml", "repository.xml"}).mid(0, names.size()));
        const QStringList lines = m_log->lines().split('\n', Qt::SkipEmptyParts);
        const QStringList expected = logged.split('|', Qt::SkipEmptyParts);
        QVERIFY2(lines.size() == expected.size(), qPrintable(m_log->lines()));
        for (int i = 0; i < lines.size(); ++i) {
            QVERIFY2(lines[i].startsWith("[ConfigurationMgr]"), qPrintable(lines[i]));
            for (const QString& part : expected[i].split(" * "))
                QVERIFY2(lines[i].contains(part), qPrintable(lines[i]));
        }
    }
    void takesTheStatusFromTheSettings()
    {
        setUp("a: release,beta,x64,main,r s|a/r 1.0|a/s 2.0", "a");
        m_sandbox.setMachineValue("ConfigMgr/RepositoryStatus", "beta");
        QCOMPARE(find(), QString("1.00.000 /a/r/p.zip"));
        m_sandbox.removeMachineValue("ConfigMgr/RepositoryStatus");
        QCOMPARE(find(), QString("2.00.000 /a/s/p.zip"));
    }
    void survivesWhatHappensMeanwhile_data()
    {
        const Rows<QString, int, QString> row("found", "requests", "logged");
        row("cancelled", "none", 3, "The search for a newer repository was cancelled");
        row("destroyed", "none", 3, "The search for a newer repository was cancelled");
        row("asked for another one", "2.00.000 /b/r/p.zip", 4, "No search for a newer repository while another");
        row("the locations are loaded anew", "2.00.000 /b/r/p.zip", 4, "");
    }
    void survivesWhatHappensMeanwhile()
    {
        const QString event = QTest::currentDataTag();
        const auto [requests, logged] = cells<int, QString>("requests", "logged");
        setUp("a: r|b: r|a/r 1.0|b/r 2.0", "a b");
        bool isDone = false;
        connect(m_manager, &cUpdateMgr::progress, this, [&](const QString& name) {
            if (name != "repository.xml" || std::exchange(isDone, true))
                return;
            QSettings().remove("UpdateMgr");
            if (event == "cancelled")
                m_manager->cancel();
            else if (event == "destroyed")
                delete m_manager;
            else if (event == "asked for another one")
                QCOMPARE(find(), QString("none"));
            else
                m_manager->loadLocations();
        });
        QTEST(find(), "found");
        QVERIFY(isDone);
        QVERIFY(m_site.takeRequests().size() == requests);
        QCOMPARE(m_manager.isNull(), event == "destroyed");
        QVERIFY(m_manager.isNull() || m_manager->isCancelled() == (event == "cancelled"));
        QVERIFY(m_log->lines().count('\n') == (logged.isEmpty() ? 0 : 1));
        QVERIFY(m_log->lines().contains(logged));
    }
    void cleanup() { delete m_manager; }

private:
    void setUp(const QString& files, const QString& locations)
    {
        m_log.reset();
        m_log.reset(new LogFile);
        QDir(m_site.folder()).removeRecursively();
        for (const QString& file : files.split('|', Qt::SkipEmptyParts)) {
            const int at = file.indexOf(QRegularExpression("[=: ]"));
            const QString path = file.left(at);
            QVERIFY(file[at] == '='   ? m_site.write(path, file.mid(at + 1).toUtf8())
                    : file[at] == ':' ? m_site.write(path + "/site.xml", site(file.mid(at + 2)))
                                      : m_site.write(path + "/repository.xml", repository(file.mid(at + 1))));
        }
        QSettings settings;
        settings.remove("UpdateMgr");
        for (const QString& location : locations.split(' ', Qt::SkipEmptyParts))
            settings.setValue(QString("UpdateMgr/Locations/%1").arg(settings.allKeys().size()),
                              QVariantMap{{"url", m_site.url(location)}});
        m_site.takeRequests();
        m_manager = new cUpdateMgr;
        m_manager->loadLocations();
    }

    /// "none", or the version that was found, the source of its first package and its runtime.
    QString find()
    {
        cFeatureCatalogue catalogue;
        cRuntimeInfo runtime;
        if (!m_manager->findNewest("main", catalogue, runtime))
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
    QPointer<cUpdateMgr> m_manager;
};

QTEST_GUILESS_MAIN(tst_cUpdateMgr)
#include "tst_cUpdateMgr.moc"
