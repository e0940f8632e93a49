#include "cPluginSuite.h"

#include <Norvale/IPluginContext.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>
#include <Norvale/cLogCentral.h>

#include <SettingsSandbox.h>

#include <QtCore/QDir>
#include <QtTest/QtTest>

class tst_cPluginInstance : public QObject
{
    Q_OBJECT

private slots:
    void folder_data();
    void folder();
    void readingAgainReplaces();
    void context();
    void translation_data();
    void translation();

private:
    SettingsSandbox m_sandbox;
};

using Suite = cPluginSuite;

void tst_cPluginInstance::folder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("folder");

    QTest::newRow("default") << "#default"
                             << "core:plugins/Foo-1.02.000";
    QTest::newRow("other") << "/x/../y"
                           << "/x/../y";
    QTest::newRow("no other special path") << "#Default"
                                           << "#Default";
}

void tst_cPluginInstance::folder()
{
    QFETCH(QString, path);
    cPluginInstance plugin(QStringLiteral("Foo"), cVersion(QStringLiteral("1.2")));
    plugin.setFolder(path);
    QTEST(plugin.folder(), "folder");
    QCOMPARE(plugin.identity(), QStringLiteral("Foo-1.02.000"));
}

// The install manager reads manifests that the plugin manager has read before.
void tst_cPluginInstance::readingAgainReplaces()
{
    Suite suite;
    suite.add("A", "plain", Suite::dependsOn({"B", "C"}) + Suite::provides("a"));
    cPluginInstance plugin(QStringLiteral("A"), cVersion(QStringLiteral("1.0")));
    plugin.setFolder(QStringLiteral("#default"));
    QVERIFY(plugin.readManifest() && plugin.readManifest());
    QCOMPARE(plugin.dependencies(), QStringList({"B", "C"}));
    QCOMPARE(plugin.services(), QStringList("a"));
    QVERIFY(plugin.loadLibrary() && plugin.isLibraryLoaded() && plugin.hasPluginObject());
    QVERIFY(plugin.unloadLibrary());
    QVERIFY(!plugin.hasPluginObject() && !plugin.start());
    QCOMPARE(plugin.errorString(), QStringLiteral("it has no plugin object"));
}

void tst_cPluginInstance::context()
{
    Suite suite;
    suite.add("Foo", "plain", "<start><params>{\"a\": [1]}</params></start>");
    cPluginInstance plugin(QStringLiteral("Foo"), cVersion(QStringLiteral("1.0")));
    const cPluginContext own(plugin);
    const IPluginContext& context = own;
    QVERIFY(context.params().isNull());
    plugin.setFolder(QStringLiteral("#default"));
    QVERIFY(plugin.readManifest());
    QCOMPARE(context.name(), QStringLiteral("Foo"));
    QCOMPARE(context.params()["a"][0].toInt(), 1);
    cLogCentral::setDebuggerOutput(true);
    context.log().warning() << "hello" << Qt::endl;
    QCOMPARE(cLogCentral::history().last().channel, QStringLiteral("Foo"));
}

void tst_cPluginInstance::translation_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("text");

    QTest::newRow("translated") << "de_DE"
                                << "Guten Tag";
    QTest::newRow("no file") << "fr_FR"
                             << "Hello";
    QTest::newRow("file torn") << "xx_XX"
                               << "Hello";
    QTest::newRow("no locale") << ""
                               << "Hello";
}

void tst_cPluginInstance::translation()
{
    QFETCH(QString, locale);
    Suite suite;
    suite.add("A", "plain");
    const QString folder = suite.folderOf("A") + "/ts";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(QFile::copy(QFINDTESTDATA("data/strings_de_DE.qm"), folder + "/strings_de_DE.qm"));
    QFile torn(folder + "/strings_xx_XX.qm");
    QVERIFY(torn.open(QIODevice::WriteOnly) && torn.write("\x3c\xb8\x64\x18") == 4);
    torn.close();
    m_sandbox.setMachineValue("ConfigMgr/Locale", locale);
    QVERIFY(suite.manager.StartNormal());
    QCOMPARE(suite.journal(), QStringList("start A"));
    QTEST(QCoreApplication::translate("tst", "Hello"), "text");
}

QTEST_GUILESS_MAIN(tst_cPluginInstance)
#include "tst_cPluginInstance.moc"
