#include "config/cConfigurationMgr.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>
#include <SettingsSandbox.h>

#include <QtTest/QtTest>

class tst_cConfigurationMgr : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void publishesToThePluginManager();
    void publishesAnewWhatIsInMemory();
    void logsWhyNothingIsInstalled_data();
    void logsWhyNothingIsInstalled();
    void leavesThePluginManagerAloneOnAClash();
    void writesTheFeaturesFile();
    void answersThroughTheFacade();
    void addsUpProgress();

private:
    void writeFeatures(const QByteArray& xml);
    QStringList registered() const;
    static int logged(const QString& part);

    SettingsSandbox m_sandbox;
    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<cPluginMgr> m_plugins;
    QScopedPointer<cConfigurationMgr> m_manager;
};

void tst_cConfigurationMgr::init()
{
    m_manager.reset();
    m_plugins.reset();
    m_folder.reset(new QTemporaryDir);
    m_sandbox.setInstallDir(m_folder->path());
    m_sandbox.removeMachineValue("ConfigMgr/RepositoryVersion");
    QVERIFY(Corvane::initializeFolderOrFile());
    cLogCentral::setDebuggerOutput(true);
    m_plugins.reset(new cPluginMgr);
    m_manager.reset(new cConfigurationMgr(*m_plugins));
}

void tst_cConfigurationMgr::writeFeatures(const QByteArray& xml)
{
    QDir().mkpath(m_folder->filePath("plugins"));
    QFile file(m_folder->filePath("plugins/features.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(xml);
}

QStringList tst_cConfigurationMgr::registered() const
{
    QStringList plugins;
    for (const cPluginInfo& plugin : m_plugins->plugins())
        plugins.append(plugin.name);
    return plugins;
}

int tst_cConfigurationMgr::logged(const QString& part)
{
    int count = 0;
    for (const cLogEntry& entry : cLogCentral::history())
        count += entry.channel == "ConfigurationMgr" && entry.level != debugInfo && entry.message.contains(part);
    return count;
}

static const char TwoFeatures[] =
    "<r name='main' version='1.2'><feature name='Core' version='1.0' active='true'><displayname lang='de'>Kern"
    "</displayname><plugins><plugin name='A' version='1.0'/><plugin name='B' version='2.0'/></plugins></feature>"
    "<feature name='Extra'><plugins><plugin name='A' version='1.0'/><plugin name='C' "
    "version='1.0'/></plugins></feature>"
    "</r>";

void tst_cConfigurationMgr::publishesToThePluginManager()
{
    // The host's own setting must make no difference: every feature here is of another repository.
    QSettings().setValue("ConfigMgr/RepositoryName", "elsewhere");
    writeFeatures(TwoFeatures);
    QVERIFY(!m_manager->isFeatureInstalled("Core"));
    QVERIFY(m_manager->publishInstalledPlugins());
    QCOMPARE(registered(), (QStringList{"A", "B", "C"}));
    QVERIFY(m_plugins->isKnown("B", cVersion("2.0")));
    QVERIFY(m_manager->installed().find("Core", cVersion("1.0")));
    QCOMPARE(m_manager->installed().version().toString(), QString("1.02.000"));
    QSettings().remove("ConfigMgr/RepositoryName");
}

void tst_cConfigurationMgr::publishesAnewWhatIsInMemory()
{
    QVERIFY(m_manager->publishInstalledPlugins());
    QVERIFY(registered().isEmpty());
    writeFeatures(TwoFeatures);
    QVERIFY(m_manager->publishInstalledPlugins());
    writeFeatures("<r/>");
    QVERIFY(m_manager->publishInstalledPlugins());
    const QStringList plugins = registered();
    QCOMPARE(QSet<QString>(plugins.begin(), plugins.end()), (QSet<QString>{"A", "B", "C"}));
    QVERIFY(m_manager->loadFeatures());
    QVERIFY(m_manager->installed().isEmpty());
}

void tst_cConfigurationMgr::logsWhyNothingIsInstalled_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("reason");
    QTest::newRow("absent") << QByteArray() << "does not exist";
    QTest::newRow("not well-formed") << QByteArray("<r>\n<feature></r>") << "line 2, column 13: ";
    QTest::newRow("nested too deeply") << QByteArray("<r>\n").repeated(5000) << "line 1001, column ";
}

void tst_cConfigurationMgr::logsWhyNothingIsInstalled()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, reason);
    if (!xml.isEmpty())
        writeFeatures(xml);
    QVERIFY(m_manager->publishInstalledPlugins());
    QVERIFY(m_manager->publishInstalledPlugins());
    QVERIFY(!m_manager->loadFeatures());
    QVERIFY(m_manager->installed().isEmpty());
    const QString path = m_folder->filePath("plugins/features.xml");
    QCOMPARE(logged(path), 1);
    QVERIFY(logged(reason) >= 1);
}

void tst_cConfigurationMgr::leavesThePluginManagerAloneOnAClash()
{
    writeFeatures("<r><feature name='X'><plugins><plugin name='Z' version='1.0'/></plugins></feature></r>");
    QVERIFY(m_manager->publishInstalledPlugins());
    writeFeatures("<r><feature name='X'><plugins><plugin name='A' version='1.0.0'/></plugins></feature>"
                  "<feature name='Y'><plugins><plugin name='A' version='1.0.1'/></plugins></feature></r>");
    QVERIFY(m_manager->loadFeatures());
    QVERIFY(!m_manager->publishInstalledPlugins());
    QCOMPARE(registered(), QStringList{"Z"});
    QCOMPARE(logged("1.00.001 by feature Y"), 1);
}

void tst_cConfigurationMgr::writesTheFeaturesFile()
{
    m_sandbox.setMachineValue("ConfigMgr/RepositoryVersion", "7.08.009");
    const auto feature = QSharedPointer<cFeatureInstance>::create("Core", cVersion("1.0"), false, "main");
    QVERIFY(m_manager->saveFeatures({feature}));
    QVERIFY(m_manager->saveFeatures({feature}));
    QVERIFY(m_manager->loadFeatures());
    QCOMPARE(m_manager->installed().version().toString(), QString("7.08.009"));
    QVERIFY(m_manager->installed().find("Core")->isActive());

    QVERIFY(QFile::remove(m_folder->filePath("plugins/features.xml")));
    QVERIFY(QDir().mkpath(m_folder->filePath("plugins/features.xml/in the way")));
    QVERIFY(!m_manager->saveFeatures({feature}));
    QCOMPARE(logged("Cannot write the features file"), 1);
}

void tst_cConfigurationMgr::answersThroughTheFacade()
{
    writeFeatures(TwoFeatures);
    QVERIFY(!IConfigMgr::isFeatureInstalled("Core"));
    QVERIFY(m_manager->loadFeatures());
    QVERIFY(IConfigMgr::isFeatureInstalled("Extra"));
    QVERIFY(!IConfigMgr::isFeatureInstalled("core"));
    const QList<cFeatureInfo> features = IConfigMgr::installedFeatures();
    QCOMPARE(features.size(), 2);
    QCOMPARE(features.first().name, QString("Core"));
    QCOMPARE(features.first().version.toString(), QString("1.00.000"));
    QCOMPARE(features.first().repository, QString("main"));
    QVERIFY(features.first().active && !features.last().active);
    QCOMPARE(features.first().displayNames, (QMap<QString, QString>{{"de", "Kern"}}));
    QCOMPARE(features.last().plugins, (QStringList{"A-1.00.000", "C-1.00.000"}));

    m_manager.reset();
    QVERIFY(!IConfigMgr::isFeatureInstalled("Core"));
    QVERIFY(IConfigMgr::installedFeatures().isEmpty());
    IConfigMgr::connectProgressSlot(this, SLOT(init()));
    QCOMPARE(logged("the library is not initialized"), 1);
}

void tst_cConfigurationMgr::addsUpProgress()
{
    cConfigurationMgr relay(*m_plugins);
    QSignalSpy spy(m_manager.data(), SIGNAL(progress(QString, qint64, qint64)));
    QSignalSpy relayed(&relay, SIGNAL(progress(QString, qint64, qint64)));
    m_manager->connectProgressSlot(&relay, SLOT(onProgress(QString, qint64, qint64)));
    m_manager->onProgress("a.zip", 1, 2);
    m_manager->setOverallProgress("all", 100, 1000);
    m_manager->onProgress("a.zip", 1, 2);
    m_manager->setOverallProgress("all", 100, 0);
    m_manager->onProgress("a.zip", 3, 4);
    m_manager->setOverallProgress("", 100, 1000);
    m_manager->onProgress("b.zip", 5, -1);
    const QList<QVariantList> expected{
        {"a.zip", 1LL, 2LL}, {"all", 101LL, 1000LL}, {"a.zip", 3LL, 4LL}, {"b.zip", 5LL, -1LL}};
    QCOMPARE(QList<QVariantList>(spy), expected);
    QCOMPARE(QList<QVariantList>(relayed), expected);

    m_manager->connectProgressSlot(nullptr, SLOT(x()));
    m_manager->connectProgressSlot(&relay, nullptr);
    m_manager->connectProgressSlot(&relay, SLOT(noSuchSlot(QString)));
    QCOMPARE(logged("Progress is not connected: no receiver"), 3);
}

QTEST_GUILESS_MAIN(tst_cConfigurationMgr)
#include "tst_cConfigurationMgr.moc"
