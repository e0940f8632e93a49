#include "UpdateFixture.h"

#include "trust/cInstallationTrust.h"

#include <HttpSite.h>

/// Checks and updates with a pinned root, from a site that is signed by other means than our own (tuf_site.py): what is
/// fetched, and why the rest is refused.
class tst_cTrustedSite : public QObject
{
    Q_OBJECT

    UpdateFixture m_fixture;
    HttpSite m_site;

    static QString failures()
    {
        QStringList reasons;
        for (const cSitesOutcome::cFailure& failure : IConfigMgr::lastSites().failures)
            reasons << failure.url.section('/', 3) + ": " + failure.reason;
        return reasons.join(", ");
    }

    void forge(const QString& steps) { QCOMPARE(m_site.forge(steps), QString()); }

    /// Makes an honest site, and pins its root.
    void publish()
    {
        forge("new(prefix=False); read = lambda path: open(site.folder + '/' + path, 'rb').read()");
        forge("change = lambda path: files.update({'/' + path: files['/' + path].replace(b'<', b'>', 1)})");
        forge("named = lambda path, hash: '/'.join([''] + path.split('/')[:-1] + [hash + '.' + path.split('/')[-1]])");
        forge("copy = lambda path: files.update({named(path, targets.targets[path]['hashes']['sha256']): "
              "files.pop('/' + path), '/' + path: b'the next'})");
        forge("[target(path, read(path)) for path in ('site.xml', 'repo/repository.xml', 'repo/A-1.00.000.zip')]");
        forge("release(); mark()");
        forge("save('/tuf/1.root.json')");
        QString error;
        QVERIFY2(IConfigMgr::pinTrust(readFile(m_site.folder() + "/../1.root.json"), &error), qPrintable(error));
    }

private slots:
    void initTestCase()
    {
        const QByteArray package(1000, 'A'), setup(100, 'S');
        QVERIFY(m_site.write("site.xml", UpdateFixture::Site));
        QVERIFY(m_site.write("repo/A-1.00.000.zip", package));
        QVERIFY(m_site.write("repo/run", setup));
        const QByteArray head = "<r name='main' version='2.0'>";
        const QByteArray feature =
            "<feature name='C' version='2.0'><plugins><plugin name='A' version='1.0' size='1000'>"
            "<source>A-1.00.000.zip</source>" +
            hashed(package) + "</plugin></plugins></feature></r>";
        const QByteArray runtime =
            "<runtime version='1.0' name='run'><source>run</source>" + hashed(setup) + "</runtime>";
        QVERIFY(m_site.write("repo/repository.xml", head + feature));
        QVERIFY(m_site.write("runtime.xml", head + runtime + feature));
    }

    void fetchesWhatIsVouchedFor_data()
    {
        // What the publisher, or an attacker, does after a first check; result code and what failed; what has been
        // fetched; what was said of it.
        const Rows<QString, QString, QString, QString> row("steps", "outcome", "fetched", "said");
        const QString a = "A-1.00.000.zip", package = "'repo/A-1.00.000.zip'",
                      runtime = "target('repo/repository.xml', "
                                "read('runtime.xml')); ";
        row("all is signed", "pass", "0", a, "");
        row("copies for descriptions", "copy('site.xml'); copy('repo/repository.xml')", "0", a, "");
        row("a rotated root", "rotate(root, 'r'); publish(root)", "0", a, "");
        row("handed on to another role",
            QString("delegate('d', ['repo/*.zip']); del targets.targets[%1]; target(%1, read(%1), roles['d']); "
                    "release(); mark()")
                .arg(package),
            "0", a, "");
        row("a runtime", runtime + "target('repo/run', read('repo/run')); release()", "0", "run", "");

        row("no metadata", "files.clear()", "2", "", "tuf/: timestamp.json cannot be fetched: ");
        row("tampered site", "change('site.xml')", "2", "", "site.xml: site.xml is refused: its SHA-256 is not");
        row("tampered catalogue", "change('repo/repository.xml')", "2", "",
            "repo/repository.xml: repo/repository.xml is refused: its SHA-256 is not");
        row("endless catalogue", "faults['/repo/repository.xml'] = '~endless'", "2", "",
            "more bytes than are accepted");
        row("a repository elsewhere",
            "target('site.xml', read('site.xml').replace(b\"'repo'\", b\"'../repo'\")); release()", "2", "",
            "site.xml: the repository \"../repo\" leaves the site");
        row("a repository that nobody signed", "del targets.targets['repo/repository.xml']; release()", "2", "",
            "no trusted role vouches for \"repo/repository.xml\"");
        row("a package that nobody signed, which waits", QString("del targets.targets[%1]; release()").arg(package),
            "3 A-1.00.000", a, "no trusted metadata names it");
        row("another package", QString("target(%1, b'x' * 1000, served=read(%1)); release()").arg(package),
            "3 A-1.00.000", "", "its SHA-256 is not the one that the signed metadata gives");
        row("endless package", "faults['/repo/A-1.00.000.zip'] = '~fill=100000000'", "3 A-1.00.000", "",
            "more bytes than are accepted");
        row("a runtime that nobody signed", runtime + "release()", "3 run", "", "no trusted metadata names it");
        row("another runtime", runtime + "target('repo/run', b'x' * 100, served=read('repo/run')); release()", "3 run",
            "", "its SHA-256 is not the one that the signed metadata gives");
    }
    void fetchesWhatIsVouchedFor()
    {
        const auto [steps, fetched, said] = cells<QString, QString, QString>("steps", "fetched", "said");
        m_fixture.begin("<feature name='C' version='1.0' repository='main'/>", m_site.url());
        publish();
        QCOMPARE(int(IConfigMgr::checkForUpdates()["result_code"].toInt()), 0);
        forge(steps);
        if (QTest::currentDataTag() == QByteArray("a package that nobody signed, which waits"))
            writeFile(dataPath("Dropbox/A-1.00.000.zip"), readFile(m_site.folder() + "/repo/A-1.00.000.zip"));
        QTEST(update(), "outcome");
        QStringList found = QDir(dataPath("Dropbox")).entryList({"*.zip"}) + QDir(dataPath("")).entryList({"run*"});
        QCOMPARE(found.join(' '), fetched);
        QCOMPARE(QFile::exists(dataPath("Dropbox/repository.xml")), fetched == "A-1.00.000.zip" && said.isEmpty());
        QVERIFY2(said.isEmpty() || failures().contains(said) || m_fixture.logged(said) > 0, qPrintable(failures()));
        forge("heal()"); // and the client goes on with it
        QCOMPARE(int(IConfigMgr::checkForUpdates()["result_code"].toInt()), 0);
    }

    void passesOverASiteWithoutMetadata()
    {
        m_fixture.begin("<feature name='C' version='1.0' repository='main'/>", m_site.url("nowhere"));
        QSettings().setValue("UpdateMgr/Locations/to", QVariantMap{{"url", m_site.url()}});
        publish();
        QCOMPARE(update(), "0");
        QVERIFY2(failures().startsWith("nowhere/tuf/: timestamp.json cannot be fetched"), qPrintable(failures()));
        QString error;
        QVERIFY2(IConfigMgr::unpinTrust(&error), qPrintable(error));
        forge("files.clear()");
        QCOMPARE(update(), "0"); // as ever
    }
};

QTEST_GUILESS_MAIN(tst_cTrustedSite)
#include "tst_cTrustedSite.moc"
