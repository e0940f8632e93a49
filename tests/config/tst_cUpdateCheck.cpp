#include "UpdateFixture.h"

#include "config/cUpdateCheck.h"

#include <random>

/// The features of @p text: "C-2.1:A,B<D,E@R" is C 2.1 of the repository R with the plugins A and B of 10 and 11 bytes,
/// which depends on D and E.
static QByteArray features(const QString& text)
{
    static const QRegularExpression form("^([^-]*)-([^:<@]*)(?::([^<@]*))?(?:<([^@]*))?(?:@(.*))?$");
    QString xml;
    for (const QString& word : text.split(' ', Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch part = form.match(word);
        const QString repository = part.lastCapturedIndex() == 5 ? part.captured(5) : "main";
        xml += QString("<feature name='%1' version='%2' repository='%3'><plugins>")
                   .arg(part.captured(1), part.captured(2), repository);
        int size = 10;
        for (const QString& plugin : part.captured(3).split(',', Qt::SkipEmptyParts))
            xml += QString("<plugin name='%1' version='1.2' size='%2'/>").arg(plugin).arg(size++);
        xml += "</plugins><dependencies>";
        for (const QString& dependency : part.captured(4).split(',', Qt::SkipEmptyParts))
            xml += "<feature name='" + dependency + "'/>";
        xml += "</dependencies></feature>";
    }
    return xml.toUtf8();
}

/// The values of the result in the order of their documentation; "-" for a key that is absent.
static QString values(const cJsonValue& result)
{
    QStringList values;
    for (const char* key : {"result_code", "current_version", "update_to_version", "requires_new_core", "size"})
        values << (result.contains(key) ? result[key].toVariant().toString() : "-");
    return values.join(' ');
}

template <typename Records>
static QStringList namesOf(const Records& records)
{
    QStringList names;
    for (const auto& record : records)
        names << record->name();
    return names;
}

/// What is found newer, and what is answered.
class tst_cUpdateCheck : public QObject
{
    Q_OBJECT

private slots:
    void compares_data()
    {
        const Rows<QString, QString, QByteArray, QString, QString> row("installed", "available", "version", "expected",
                                                                       "found");
        const QString none = "2 1.00.000 1.00.000 false 0";
        const QString some = "0 1.00.000 1.02.003 false ";
        const QString missing = "5 1.00.000 1.02.003 false -";
        const QString noRepository = "2 1.00.000 0.00.000 false -";
        row("nothing is newer", "C-2.0", "C-2.0:A", "1.0", none, " > ");
        row("older, of the same repository", "C-2.0", "C-1.9:A", "1.0", none, " > ");
        row("only the description is newer", "C-2.0", "C-2.0:A", "1.2.3", some + "0", " > ");
        row("newer", "C-2.0 D-1.0", "D-1.0:X C-2.1:A,B", "1.2.3", some + "21", "C > A B");
        row("the same from elsewhere", "C-2.0@other", "C-2.0", "1.2.3", some + "0", "C > ");
        row("older from elsewhere", "C-2.0@", "C-1.0:A", "1.0", "0 1.00.000 1.00.000 false 10", "C > A");
        row("a shared plugin counts once", "C-1.0 D-1.0", "D-2.1:A,B C-2.1:B,A", "1.2.3", some + "21", "C D > B A");
        row("known plugins are not fetched", "C-1.0", "C-2.1:Known,A", "1.2.3", some + "11", "C > A");
        row("known in another version", "C-1.0", "C-2.1:Other", "1.2.3", some + "10", "C > Other");
        row("the last dependency comes first, before the next name", "C-1.0 Z-1.0",
            "C-2.0<D1,D2,Z Z-1.0 D1-1.0 D2-1.0<E,C E-0.0", "1.2.3", some + "0", "C D2 E D1 > ");
        row("the first feature of a name", "C-1.0 C-3.0", "C-2.0:A C-4.0", "1.2.3", some + "10", "C > A");
        row("the development feature", "VelmDev-1.0 C-1.0", "C-1.0", "1.2.3", some + "0", " > ");
        row("an installed feature is missing", "C-1.0 D-1.0", "C-2.0:A", "1.2.3", missing, "C > ");
        row("a dependency is missing", "C-1.0", "C-1.0<c", "1.2.3", missing, " > ");
        row("no features", "C-1.0", "", "1.2.3", "2 1.00.000 1.02.003 false -", " > ");
        row("version 0.0.0 is no repository", "C-1.0", "C-2.0", "", noRepository, " > ");
        row("not well-formed", "C-1.0", "C-2.0", "1.2.3'><x y='", noRepository, " > ");
    }
    void compares()
    {
        const auto [installed, available, version] =
            cells<QString, QString, QByteArray>("installed", "available", "version");
        m_fixture.begin(features(installed));
        m_fixture.plugins.registerPlugin({"Known", cVersion("1.2")});
        m_fixture.plugins.registerPlugin({"Other", cVersion("1.1")});
        m_fixture.offer("version='" + version + "'", features(available));

        cUpdateCheck check(m_fixture.manager->installed(), m_fixture.plugins);
        const cJsonValue result = check.run({}, m_fixture.updates);
        QTEST(values(result), "expected");
        QTEST(namesOf(check.features()).join(' ') + " > " + namesOf(check.plugins()).join(' '), "found");
        QCOMPARE(m_fixture.logged("lacks the feature"), int(result["result_code"].toInt() == 5));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), values(result));
    }
    void tellsWhatAnUpdateBrings_data()
    {
        const Rows<QString, QString, QByteArray, QString> row("installed", "locale", "notes", "expected");
        const QByteArray all = "<notes version='1.0' lang='en-us'>1</notes><notes version='1.5'>1.5</notes>"
                               "<notes lang='de-de'> Zwei&#13;&#10;Zeilen </notes><notes lang='en-us'>2</notes>"
                               "<notes version='3.0'>3</notes><notes version='1.5' lang='de-at'>eins fuenf</notes>";
        row("none", "C-1.0", "de_DE", "", "");
        row("blank", "C-1.0", "de_DE", "<notes>\n </notes>", "");
        row("each above the installed one, newest first", "C-1.0", "de_DE", all,
            "C 2.00.000 Zwei\nZeilen|C 1.05.000 eins fuenf");
        row("no locale", "C-1.4", "", all, "C 2.00.000 2|C 1.05.000 1.5");
        row("another language", "C-1.5", "fr_FR", all, "C 2.00.000 2");
        row("the first there is", "C-1.5", "fr_FR", "<notes lang='it'>due</notes><notes lang='es'>dos</notes>",
            "C 2.00.000 due");
        row("from elsewhere", "C-1.0@other", "", all, "C 2.00.000 2");
        row("up to date", "C-2.0", "", all, "");
        row("too long", "C-1.0", "", "<notes>" + QByteArray(5000, 'a') + "</notes>",
            "C 2.00.000 " + QString(4000, 'a') + QChar(0x2026));
    }
    void tellsWhatAnUpdateBrings()
    {
        const auto [installed, locale, notes] = cells<QString, QString, QByteArray>("installed", "locale", "notes");
        m_fixture.begin(features(installed));
        m_fixture.sandbox.setMachineValue("ConfigMgr/Locale", locale);
        m_fixture.offer("version='2.0'", features("C-2.0").replace("</feature>", notes + "</feature>"));
        const cJsonValue result = IConfigMgr::checkForUpdates();
        m_fixture.sandbox.removeMachineValue("ConfigMgr/Locale");
        QStringList told;
        for (int i = 0; result.contains("notes") && i < int(result["notes"].size()); ++i) {
            const cJsonValue& note = result["notes"][i];
            told << note["feature"].toString() + ' ' + note["version"].toString() + ' ' + note["text"].toString();
        }
        QTEST(told.join('|'), "expected");
        QCOMPARE(result.contains("notes"), !told.isEmpty());
    }
    void answersWithoutComparing()
    {
        m_fixture.begin(features("C-1.0"));
        m_fixture.offer("version='1.2.3'", "<runtime version='0.0.1'/>" + features("x-1.0"));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "0 1.00.000 1.02.003 true 0");
        m_fixture.sandbox.setMachineValue("ConfigMgr/RuntimeVersion", "0.0.1");
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "5 1.00.000 1.02.003 false -");
        QVERIFY(QFile::remove(m_fixture.path("site/site.xml")));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "2 1.00.000 - - -");
        m_fixture.sandbox.removeMachineValue("ConfigMgr/RepositoryVersion");
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "2 0.00.000 - - -");
    }
    void loadsWhatIsInstalledAndHoldsSizesAtTheirEnd()
    {
        m_fixture.begin(features("C-1.0"));
        m_fixture.manager->setInstalled(cFeatureCatalogue());
        m_fixture.offer("version='2.0'", features("C-2.0:A,B").replace("size='1", "size='429496728"));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "0 1.00.000 2.00.000 false 4294967295");
    }
    void refusesWhenWhatIsInstalledIsNotKnown()
    {
        m_fixture.begin();
        m_fixture.offer("version='2.0'", features("C-2.0:A"));
        m_fixture.write("plugins/features.xml", "<r");
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "4 - - - -");
        QCOMPARE(values(IConfigMgr::doUpdateOn({"C"})), "4 - - - -");
        QCOMPARE(m_fixture.logged("what is installed is not known, " + m_fixture.path("plugins").toUtf8()), 2);
        QCOMPARE(m_fixture.logged("features.xml: line 1, column "), 3);
        QVERIFY(QFile::remove(m_fixture.path("plugins/features.xml")));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "0 1.00.000 2.00.000 false 0");
    }
    /// Against the rule as it is said: one list, and each name looked for in it.
    void closesOverDependenciesLikeTheRule()
    {
        m_fixture.begin();
        std::mt19937 engine(4711);
        const auto below = [&engine](int bound) { return int(engine() % uint(bound)); };
        for (int round = 0; round < 40; ++round) {
            const int count = 1 + below(40);
            QHash<QString, QStringList> dependencies;
            QString text;
            for (int i = 0; i < count; ++i) {
                QStringList& names = dependencies[QString::number(i)];
                for (int n = below(4); n > 0; --n)
                    names << QString::number(below(count));
                text += QString("%1-1.0<%2 ").arg(i).arg(names.join(','));
            }
            QStringList list{QString::number(count / 2), "0", QString::number(count / 2)};
            m_fixture.offer("version='2.0'", features(text));
            cUpdateCheck check(m_fixture.manager->installed(), m_fixture.plugins);
            check.run(list, m_fixture.updates);

            list.removeDuplicates();
            for (int i = 0; i < list.size(); ++i) {
                for (const QString& name : dependencies.value(list.at(i))) {
                    if (!list.contains(name))
                        list.insert(i + 1, name);
                }
            }
            QCOMPARE(namesOf(check.features()), list);
        }
    }

private:
    UpdateFixture m_fixture;
};

QTEST_GUILESS_MAIN(tst_cUpdateCheck)
#include "tst_cUpdateCheck.moc"
