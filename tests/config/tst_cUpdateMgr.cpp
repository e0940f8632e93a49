#include "config/cUpdateMgr.h"

#include <SettingsSandbox.h>

#include <QtCore/QSettings>
#include <QtTest/QtTest>

class tst_cUpdateMgr : public QObject
{
    Q_OBJECT

private slots:
    void resolves_data();
    void resolves();
    void loadsLocationsInKeyOrder();

private:
    SettingsSandbox m_sandbox;
};

void tst_cUpdateMgr::resolves_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* url, const char* path, const char* expected) {
        QTest::newRow(name) << url << path << expected;
    };
    row("a file", "http://h/site", "site.xml", "http://h/site/site.xml");
    row("a slash at the end", "http://h/site/", "repo", "http://h/site/repo");
    row("dots fold", "http://h/site/", "./repo/../repo", "http://h/site/repo");
    row("double slashes fold", "http://h//a//b", "/c//d/", "http://h/a/b/c/d");
    row("no path", "http://h", "site.xml", "http://h/site.xml");
    row("query, user and port stay", "http://u@h:81/s?k=v#f", "x", "http://u@h:81/s/x?k=v#f");
    row("up", "http://h/a/b", "../c", "http://h/a/c");
    row("a local folder", "file:///srv/site", "repo/x.zip", "file:///srv/site/repo/x.zip");
    row("percent signs and spaces", "http://h/50%25%20off", "a%b c", "http://h/50%25%20off/a%25b%20c");
    row("not resolved as a URL", "http://h/s", "http://other/x", "http://h/s/http:/other/x");
}

void tst_cUpdateMgr::resolves()
{
    QFETCH(QString, url);
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(cUpdateLocation(QUrl(url)).resolve(path).toString(QUrl::FullyEncoded), expected);
}

void tst_cUpdateMgr::loadsLocationsInKeyOrder()
{
    QSettings settings;
    settings.setValue("UpdateMgr/Locations/b", QVariantMap{{"url", QUrl("http://b")}, {"priority", -3}});
    settings.setValue("UpdateMgr/Locations/a", QVariantMap{{"url", "http://a"}, {"priority", "9"}});
    settings.setValue("UpdateMgr/Locations/nested/c", QVariantMap{{"priority", "high"}});
    settings.setValue("UpdateMgr/Locations/text", "http://d");
    settings.setValue("UpdateMgr/Other", QVariantMap{{"url", "http://other"}});
    settings.sync();

    cUpdateMgr manager;
    manager.loadLocations();
    manager.loadLocations();
    QStringList found;
    for (const auto& location : manager.locations())
        found.append(location->url().toString() + " " + QString::number(location->priority()));
    QCOMPARE(found, (QStringList{"http://a 9", "http://b -3", " 0", " 0"}));
}

QTEST_GUILESS_MAIN(tst_cUpdateMgr)
#include "tst_cUpdateMgr.moc"
