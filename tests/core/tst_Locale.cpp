#include "SettingsSandbox.h"

#include <Norvale/Corvane.h>

#include <QtTest/QtTest>
#include <QtXml/QDomDocument>

class tst_Locale : public QObject
{
    Q_OBJECT

private slots:
    void settingsAreReadAfresh()
    {
        setSetting("ConfigMgr/Locale", QString());
        QVERIFY(Corvane::currentLocale().isEmpty());
        QVERIFY(Corvane::currentLocaleLanguage().isEmpty());
        QVERIFY(Corvane::currentLocaleCountry().isEmpty());
        QCOMPARE(Corvane::currentRegion(), QString("varkel"));
        QCOMPARE(Corvane::currentPlatform(), QLatin1String("x64"));

        setSetting("ConfigMgr/Locale", "de_DE");
        setSetting("ConfigMgr/Region", "north");
        QCOMPARE(Corvane::currentLocale(), QString("de_DE"));
        QCOMPARE(Corvane::currentLocaleLanguage(), QString("de"));
        QCOMPARE(Corvane::currentLocaleCountry(), QString("DE"));
        QCOMPARE(Corvane::currentRegion(), QString("north"));
    }
    void translate_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("text");

        // One word a string: the name of its locale, its id, its text.
        const auto row = [](const char* name, const QString& locale, const char* defaultLocale, const QString& strings,
                            const QString& text) {
            QString xml =
                QString("<t%1>").arg(defaultLocale ? QString(" defaultlocale='%1'").arg(defaultLocale) : QString());
            for (const QString& each : strings.split(' ')) {
                const QStringList parts = each.split(':');
                xml +=
                    QString("<locale name='%1'><string id='%2'>%3</string></locale>").arg(parts[0], parts[1], parts[2]);
            }
            QTest::newRow(name) << locale << xml + "</t>" << text;
        };
        row("current locale", "de_DE", "en_US", "de_DE:X:Hallo en_US:X:Hello", "Hallo");
        row("default locale", "fr_FR", "en_US", "de_DE:X:Hallo en_US:X:Hello", "Hello");
        row("current behind the default", "de_DE", "en_US", "en_US:X:Hello de_DE:X:Hallo", "Hallo");
        row("no default, other locale", "fr_FR", nullptr, "de_DE:X:Hallo", "X");
        row("unknown id", "de_DE", "en_US", "de_DE:Y:Hallo en_US:Y:Hello", "X");
        row("id in the other case", "de_DE", "en_US", "de_DE:x:Hallo en_US:x:Hello", "X");
        row("last default match", "fr_FR", "en_US", "en_US:X:1 en_US:X:2 en_US:Y:3", "2");
        row("first current match", "fr_FR", nullptr, "fr_FR:Y:1 fr_FR:X:2 fr_FR:X:3", "2");
        row("empty current text beats the default", "de_DE", "en_US", "en_US:X:Hello de_DE:X:", "X");
        row("empty default text", "fr_FR", "en_US", "en_US:X:", "X");
        row("locale unset, unnamed locale", QString(), nullptr, ":X:1", "1");
        QTest::newRow("no element") << "de_DE" << QString() << "X";
        QTest::newRow("first string of a locale, children only")
            << "e"
            << "<t><g><locale name='e'><string id='X'>0</string></locale></g>"
               "<locale name='e'><string id='X'>1</string><string id='X'>2</string></locale></t>"
            << "1";
    }
    void translate()
    {
        QFETCH(QString, locale);
        QFETCH(QString, xml);

        setSetting("ConfigMgr/Locale", locale);
        QDomDocument doc;
        QCOMPARE(doc.setContent(xml), !xml.isEmpty());
        QTEST(Corvane::translate(doc.documentElement(), "X"), "text");
    }
    void expandPath_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("region");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expanded");

        const auto row = [](const char* name, const char* locale, const char* region, const QString& path,
                            const QString& expanded) {
            QTest::newRow(name) << QString(locale) << QString(region) << path << expanded;
        };
        row("every placeholder", "de_AT", nullptr, "$(locale)/$(language)/$(country)/$(region)/$(platform)",
            "de_AT/de/AT/varkel/x64");
        row("one twice", "fr_FR", nullptr, "a/$(language)/$(language)", "a/fr/fr");
        row("locale unset", nullptr, nullptr, "a/$(language)/$(locale)$(country)", "a//");
        row("other case, unknown, unclosed", "de_DE", nullptr, "$(Platform)$(x)$(locale", "$(Platform)$(x)$(locale");
        row("value names another", "de_DE", "$(language)-$(country)", "$(region)", "de-DE");
        row("value names itself", nullptr, "a$(region)b", "$(region)/$(region)", "ab/ab");
        row("value names itself twice", nullptr, "$(region)$(region)x", "$(region)", "xx");
        row("made by a replacement", nullptr, "$(plat", "$(region)form)", "x64");
        row("values name each other", "$(region)", "$(locale)", "$(locale)", "$(locale)");
        row("a hundred passes", nullptr, nullptr, QString("$(platform)").repeated(101),
            QString("x64").repeated(100) + "$(platform)");
    }
    void expandPath()
    {
        QFETCH(QString, locale);
        QFETCH(QString, region);
        QFETCH(QString, path);

        setSetting("ConfigMgr/Locale", locale);
        setSetting("ConfigMgr/Region", region);
        QTEST(Corvane::expandPath(path), "expanded");
    }

private:
    /// A null text removes the setting.
    void setSetting(const QString& key, const QString& text)
    {
        if (text.isNull())
            m_sandbox.removeMachineValue(key);
        else
            m_sandbox.setMachineValue(key, text);
    }

    SettingsSandbox m_sandbox;
};

QTEST_GUILESS_MAIN(tst_Locale)
#include "tst_Locale.moc"
