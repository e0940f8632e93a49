#include "plugins/cPluginInstance.h"
#include "plugins/cVariableExpander.h"

#include <QtTest/QtTest>

class tst_cVariableExpander : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void expands_data();
    void expands();
    void ends_data();
    void ends();
};

void tst_cVariableExpander::initTestCase()
{
    qputenv("NT_TEMP", "/var/tmp");
    qputenv("NT_NESTED", "<$(PluginName)>");
    qputenv("NT_HALF", "$(Plugin");
    qputenv("NT_SELF", "$(env.NT_SELF)");
    qputenv("NT_GROWS", "x$(env.NT_GROWS)");
    qputenv("NT_PING", "$(env.NT_PONG)");
    qputenv("NT_PONG", "$(env.NT_PING)");
}

void tst_cVariableExpander::expands_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain") << "a $ ( ) b"
                           << "a $ ( ) b";
    QTest::newRow("each of the plugin") << "$(PluginDir)|$(PluginName)|$(PluginVersion)|$(PluginName)"
                                        << QDir::toNativeSeparators("/suite/Foo") + "|Foo|1.02.003|Foo";
    QTest::newRow("case matters") << "$(pluginname)$(ENV.NT_TEMP)"
                                  << "$(pluginname)$(ENV.NT_TEMP)";
    QTest::newRow("environment") << "$(env.NT_TEMP)\\$(PluginName)"
                                 << "/var/tmp\\Foo";
    QTest::newRow("not set") << "[$(env.NT_NOT_SET)]"
                             << "[]";
    QTest::newRow("several of the environment") << "$(env.NT_TEMP)$(env.NT_TEMP)"
                                                << "/var/tmp/var/tmp";
    QTest::newRow("no name") << "$(env.)"
                             << "$(env.)";
    QTest::newRow("no end") << "$(env.PATH"
                            << "$(env.PATH";
    QTest::newRow("malformed shields what follows") << "$(env.)$(env.NT_TEMP)$(PluginName)"
                                                    << "$(env.)$(env.NT_TEMP)Foo";
    QTest::newRow("variable in a name") << "$(env.NT_$(PluginName))"
                                        << "";
    QTest::newRow("value with a variable") << "$(env.NT_NESTED)"
                                           << "<Foo>";
    QTest::newRow("variable made of value and text") << "$(env.NT_HALF)Name)"
                                                     << "Foo";
}

void tst_cVariableExpander::expands()
{
    QFETCH(QString, text);
    cPluginInstance plugin(QStringLiteral("Foo"), cVersion(QStringLiteral("1.2.3")));
    plugin.setFolder(QStringLiteral("/suite/Foo"));
    QTEST(cVariableExpander(plugin).expand(text), "expected");
}

void tst_cVariableExpander::ends_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");

    QTest::newRow("names itself") << "$(env.NT_SELF)"
                                  << "Foo";
    QTest::newRow("grows by one") << "$(env.NT_GROWS)"
                                  << "Foo";
    QTest::newRow("ping pong") << "$(env.NT_PING)"
                               << "Foo";
    QTest::newRow("plugin named as its variable") << "$(PluginName)"
                                                  << "$(PluginName)";
    QTest::newRow("doubles in each pass") << "$(PluginName)"
                                          << "$(PluginName)$(PluginName)";
    QTest::newRow("many variables") << QStringLiteral("$(env.NT_TEMP)").repeated(20000) << "Foo";
}

void tst_cVariableExpander::ends()
{
    QFETCH(QString, text);
    QFETCH(QString, name);
    const cPluginInstance plugin(name, cVersion());
    const QString result = cVariableExpander(plugin).expand(text);
    QVERIFY(!result.isEmpty());
    QVERIFY(result.size() <= text.size() + cVariableExpander::MaxGrowth);
}

QTEST_APPLESS_MAIN(tst_cVariableExpander)
#include "tst_cVariableExpander.moc"
