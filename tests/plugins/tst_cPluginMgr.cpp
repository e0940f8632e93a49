#include "cPluginSuite.h"
#include <SettingsSandbox.h>

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QDir>
#include <QtCore/QThread>
#include <QtTest/QtTest>

/// Hears the completed categories, and notes what had been started by then.
class cCategoryListener : public QObject
{
    Q_OBJECT

public slots:
    void onLoadPluginCategoryCompleted(const QString& category)
    {
        heard.append(category + QLatin1Char('@') + QString::number(cPluginSuite::journal().size()));
    }

public:
    QStringList heard;
};

/// Writes the spans down as brackets.
class cTrace : public IPluginObserver
{
public:
    void spanBegin(Span span, const QString& plugin) override { text += QLatin1Char("mlsp"[span]) + plugin + "("; }
    void spanEnd(Span, const QString&, bool ok) override { text += ok ? QLatin1String(")") : QLatin1String("!)"); }

    QString text;
};

class tst_cPluginMgr : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void startsDependenciesFirstAndStopsInReverse();
    void loadsByCategoryInTurn();
    void loadsOnRequest();
    void loadsOnRequestOfAnotherThread();
    void startRefused_data();
    void startRefused();
    void loadRefused_data();
    void loadRefused();
    void plugInThatAsksForOthersWhileStarting();
    void withdrawsServicesOfAFailedStart();
    void exceptionInStop();
    void longChainOfDependencies();
    void discoverStartsNothing();
    void onlyTheLastPublicationCounts();
    void observer();
    void metaObject();

private:
    SettingsSandbox m_sandbox;
};

using Suite = cPluginSuite;

void tst_cPluginMgr::initTestCase()
{
    cLogCentral::setDebuggerOutput(true); // or there is no history
}

void tst_cPluginMgr::startsDependenciesFirstAndStopsInReverse()
{
    Suite suite;
    suite.add("A", "plain", Suite::dependsOn({"C", "B:2", "Core:Net"}));
    suite.add("B", "plain", Suite::dependsOn({"C"}), "");
    suite.add("C", "plain", "", "");
    suite.add("Idle", "plain", "", "");
    suite.add("ZentraSettings", "plain", "", "");
    QVERIFY(suite.manager.StartNormal());
    QCOMPARE(suite.publications, 2);
    QCOMPARE(Suite::journal(), QStringList({"start ZentraSettings", "start C", "start B", "start A"}));
    QCOMPARE(QDir::searchPaths("A"), QStringList(suite.folderOf("A")));

    const QList<cPluginInfo> infos = suite.manager.plugins();
    QCOMPARE(infos.size(), 5);
    QCOMPARE(infos.at(0).dependencies, QStringList({"C", "B:2"}));
    QCOMPARE(infos.at(0).order, 5); // C, Idle, ZentraSettings, then B and A at their second places
    QCOMPARE(infos.at(0).state, cPluginInfo::Started);
    QCOMPARE(infos.at(3).state, cPluginInfo::Ordered);

    suite.manager.StopNormal();
    QCOMPARE(Suite::journal().mid(4), QStringList({"stop A", "stop B", "stop C", "stop ZentraSettings"}));
    QCOMPARE(suite.manager.plugins().at(0).state, cPluginInfo::Stopped);
    suite.manager.StopNormal();
    QCOMPARE(Suite::journal().size(), 8);
}

void tst_cPluginMgr::loadsByCategoryInTurn()
{
    Suite suite;
    cCategoryListener listener;
    suite.services.addListener("PluginMgrEvents", &listener, "on");
    suite.add("Auto", "plain");
    suite.add("U1", "plain", "", "load_category='ui'");
    suite.add("D1", "plain", "", "load_category='data'");
    suite.add("U2", "plain", "", "load_category='ui'");
    suite.add("Other", "plain", "", "load_category='UI'");
    suite.manager.setLoadCategories({"data", "nobody", "ui"});
    QVERIFY(suite.manager.StartNormal());
    QCOMPARE(Suite::journal(), QStringList({"start D1", "start U1", "start U2", "start Auto"}));
    QCOMPARE(listener.heard, QStringList({"data@1", "nobody@1", "ui@3"}));
    QCOMPARE(suite.linesWith("ZentraSettings is not loaded"), 1);
}

void tst_cPluginMgr::loadsOnRequest()
{
    Suite suite;
    suite.add("A", "plain", Suite::provides("a.service"), "");
    QVERIFY(!suite.manager.load("A"));
    QCOMPARE(suite.linesWith("have not been started"), 1);
    QVERIFY(suite.manager.StartNormal());
    QVERIFY(!suite.manager.loadByService("b.service"));
    QVERIFY(suite.manager.loadByService("a.service"));
    QVERIFY(suite.manager.load("A"));
    emit suite.manager.DoLoad("A", nullptr);
    QVERIFY(!suite.manager.load("a"));
    QCOMPARE(Suite::journal(), QStringList("start A"));
    QCOMPARE(suite.linesWith("b.service"), 1);
}

void tst_cPluginMgr::loadsOnRequestOfAnotherThread()
{
    Suite suite;
    suite.add("A", "plain", "", "");
    suite.add("B", "plain", Suite::provides("b"), "");
    QVERIFY(suite.manager.StartNormal());
    bool isLoadedAtOnce = true;
    QScopedPointer<QThread> thread(QThread::create([&] {
        emit suite.manager.DoLoad("A", nullptr);
        isLoadedAtOnce = suite.manager.loadByService("b");
    }));
    thread->start();
    QVERIFY(thread->wait());
    QVERIFY(!isLoadedAtOnce && Suite::journal().isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(Suite::journal(), QStringList({"start A", "start B"}));
}

void tst_cPluginMgr::startRefused_data()
{
    QTest::addColumn<QByteArray>("manifest"); // null: none at all
    QTest::addColumn<QString>("reason");

    QTest::newRow("no manifest") << QByteArray() << "Manifest.xml is missing";
    QTest::newRow("not XML") << QByteArray("<m>") << "Bad-1.00.000/Manifest.xml, line 1, column 4";
    QTest::newRow("older API") << QByteArray("<m><plugin runtime_api_version='12'/></m>") << "version 12";
    QTest::newRow("no plugin element") << QByteArray("<m/>") << "version 0";
    QTest::newRow("service of another")
        << QByteArray("<m><plugin runtime_api_version='13'><services><service>X</service></services></plugin></m>")
        << "the service X is declared twice: by Good and by Bad";
    QTest::newRow("service twice")
        << QByteArray(
               "<m><plugin runtime_api_version='13'><services><service>Y</service><service>Y</service></services>"
               "</plugin></m>")
        << "the service Y is declared twice: by Bad and by Bad";
}

void tst_cPluginMgr::startRefused()
{
    QFETCH(QByteArray, manifest);
    QFETCH(QString, reason);
    Suite suite;
    suite.add("Good", "plain", Suite::provides("X"));
    suite.addManifest("Bad", manifest);
    if (manifest.isNull())
        QVERIFY(QFile::remove(suite.folderOf("Bad") + "/Manifest.xml"));
    QVERIFY(!suite.manager.StartNormal());
    QCOMPARE(suite.linesWith(reason), 1);
    QVERIFY(!suite.manager.load("Good"));
    QVERIFY(Suite::journal().isEmpty());
}

void tst_cPluginMgr::loadRefused_data()
{
    QTest::addColumn<QString>("fixture");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<bool>("staysLoaded"); // so that it counts as loaded from then on
    QTest::addColumn<QStringList>("journal");

    QTest::newRow("no library") << "none"
                                << "does not exist" << false << QStringList();
    QTest::newRow("entry missing") << "entryMissing"
                                   << "\"create\"" << true << QStringList();
    QTest::newRow("entry null") << "entryNull"
                                << "answers null" << true << QStringList();
    QTest::newRow("throws in entry") << "throwsInEntry"
                                     << "threw an exception" << true << QStringList();
    QTest::newRow("start fails") << "startFails"
                                 << "returned false" << false << QStringList({"start F", "start F"});
    QTest::newRow("throws in start") << "throwsInStart"
                                     << "out of paper" << false << QStringList({"start F", "start F"});
}

void tst_cPluginMgr::loadRefused()
{
    QFETCH(QString, fixture);
    QFETCH(QString, reason);
    QFETCH(bool, staysLoaded);
    QFETCH(QStringList, journal);
    Suite suite;
    suite.add("F", fixture, "", "");
    suite.add("NeedsF", "plain", Suite::dependsOn({"F"}), "");
    QVERIFY(suite.manager.StartNormal());
    QVERIFY(!suite.manager.load("F"));
    QCOMPARE(suite.linesWith(reason), 1);
    QCOMPARE(suite.manager.plugins().at(0).state, staysLoaded ? cPluginInfo::Loaded : cPluginInfo::Ordered);
    QCOMPARE(suite.manager.load("NeedsF"), staysLoaded);
    QCOMPARE(suite.linesWith("NeedsF is not loaded: a dependency failed (NeedsF -> F)"), int(!staysLoaded));
    QCOMPARE(Suite::journal(), staysLoaded ? QStringList("start NeedsF") : journal);
    QCOMPARE(QDir::searchPaths("F").filter(suite.folderOf("F")).size(), journal.isEmpty() ? 0 : 1);
}

void tst_cPluginMgr::plugInThatAsksForOthersWhileStarting()
{
    // First's start asks for itself, for one that depends on it, and for Behind. Behind waits for Asks, whose start
    // asks for Behind in turn: that start is the one that counts.
    Suite suite;
    Suite::want({"First", "NeedsFirst", "Behind"});
    suite.add("First", "loadsOther");
    suite.add("NeedsFirst", "plain", Suite::dependsOn({"First"}), "");
    suite.add("Asks", "loadsOther", "", "");
    suite.add("Behind", "plain", Suite::dependsOn({"Asks"}), "");
    suite.add("Hasty", "loadsWhileLoading", "", "");
    QVERIFY(suite.manager.StartNormal());
    const QStringList journal = Suite::journal();
    QCOMPARE(journal.count("start Behind"), 1);
    QCOMPARE(journal.count("start NeedsFirst"), 1);
    QCOMPARE(journal.filter("is not loaded"), QStringList());
    QCOMPARE(journal.filter("is loaded").size(), 6);

    Suite::want({"Hasty"});
    QVERIFY(suite.manager.load("Hasty"));
    QCOMPARE(Suite::journal().mid(journal.size()), QStringList({"refused", "start Hasty"}));
}

void tst_cPluginMgr::withdrawsServicesOfAFailedStart()
{
    Suite suite;
    suite.add("L", "leavesService", Suite::provides("left"), "");
    QVERIFY(suite.manager.StartNormal());
    QVERIFY(!suite.manager.load("L"));
    QCOMPARE(suite.services.serviceList(), QStringList());
    QCOMPARE(suite.linesWith("withdrew the service left"), 1);
}

void tst_cPluginMgr::exceptionInStop()
{
    Suite suite;
    suite.add("A", "plain");
    suite.add("T", "throwsInStop");
    QVERIFY(suite.manager.StartNormal());
    suite.manager.StopNormal();
    QCOMPARE(Suite::journal().mid(2), QStringList({"stop T", "stop A"}));
    QCOMPARE(suite.linesWith("T-1.00.000 did not stop properly"), 1);
}

// Only the last one of the chain has a library, so the chain is walked down and nothing is loaded but that.
void tst_cPluginMgr::longChainOfDependencies()
{
    const int length = 1000;
    Suite suite;
    for (int i = 0; i < length; ++i)
        suite.addManifest(QString::number(i), "<m><plugin runtime_api_version='13'><dependencies><dependency>" +
                                                  QByteArray::number(i + 1) +
                                                  "</dependency></dependencies></plugin></m>");
    suite.add(QString::number(length), "plain", "", "");
    QVERIFY(suite.manager.StartNormal());
    QCOMPARE(suite.manager.plugins().at(0).order, length + 1);
    QVERIFY(!suite.manager.load("0"));
    QCOMPARE(Suite::journal(), QStringList("start 1000"));
    QCOMPARE(suite.linesWith("999-1.00.000 is not loaded: its manifest names no library"), 1);
}

void tst_cPluginMgr::discoverStartsNothing()
{
    Suite suite;
    suite.add("A", "plain", Suite::dependsOn({"B", "Absent"}) + Suite::provides("a"));
    suite.add("B", "plain");
    suite.addManifest("Old", "<m><plugin runtime_api_version='12'/></m>");
    suite.addManifest("Torn", "<m>");
    QVERIFY(!suite.manager.discover());
    QVERIFY(Suite::journal().isEmpty());
    QCOMPARE(suite.linesWith("runtime API version 12"), 1);
    QCOMPARE(suite.linesWith("manifest of Torn-1.00.000"), 1);
    QCOMPARE(suite.linesWith("A depends on Absent, which is not installed"), 1);
    const QList<cPluginInfo> infos = suite.manager.plugins();
    QCOMPARE(infos.at(0).order, 0);
    QCOMPARE(infos.at(0).services, QStringList("a"));
    QCOMPARE(infos.at(1).order, 1);
    QCOMPARE(infos.at(1).state, cPluginInfo::Ordered);

    QVERIFY(!suite.manager.StartNormal());
    QCOMPARE(suite.linesWith("found faulty before"), 2);

    Suite sound;
    sound.add("A", "plain", Suite::provides("a"));
    QVERIFY(sound.manager.discover());
    QVERIFY(sound.manager.StartNormal());
    QCOMPARE(Suite::journal(), QStringList("start A"));
}

void tst_cPluginMgr::onlyTheLastPublicationCounts()
{
    Suite suite;
    suite.addManifest("Gone", "<m>");
    QVERIFY(!suite.manager.discover());
    suite.names.clear();
    suite.add("A", "plain");
    QVERIFY(suite.manager.StartNormal());
    QVERIFY(!suite.manager.load("Gone"));
    QVERIFY(suite.manager.isKnown("Gone", cVersion("1.0")));

    Suite without;
    without.hasCore = false;
    QVERIFY(!without.manager.StartNormal());
    QCOMPARE(without.publications, 1);
    QCOMPARE(without.linesWith("\"Core\" is not installed"), 1);

    Suite broken;
    broken.isPublishable = false;
    QVERIFY(!broken.manager.StartNormal());
    QCOMPARE(broken.publications, 1);
}

void tst_cPluginMgr::observer()
{
    Suite suite;
    cTrace trace;
    suite.manager.setObserver(&trace);
    Suite::want({"B"});
    suite.add("A", "loadsOther");
    suite.add("B", "startFails", "", "");
    QVERIFY(suite.manager.StartNormal());
    suite.manager.StopNormal();
    QCOMPARE(trace.text, QStringLiteral("mA()mB()lA()sA(lB()sB(!))pA()"));
}

void tst_cPluginMgr::metaObject()
{
    const QMetaObject& meta = IPluginMgr::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods.append(QString::fromLatin1(meta.method(i).methodSignature()));
    QCOMPARE(methods,
             QStringList({"DoLoad(QString,bool*)", "DoLoadByService(QString,bool*)", "DoRestart()", "dumpPlugins()",
                          "OnLoad(QString,bool*)", "OnLoadByService(QString,bool*)", "OnRestart()"}));
    QVERIFY(!IPluginMgr::instance());
    Suite suite;
    QCOMPARE(IPluginMgr::instance(), &suite.manager);
}

QTEST_GUILESS_MAIN(tst_cPluginMgr)
#include "tst_cPluginMgr.moc"
