#include "UpdateFixture.h"

#include "config/cUpdateCheck.h"

#include <random>

namespace {

/// A feature of the repository with the plugins in @p plugins, each of one byte more than the one before.
QByteArray feature(const QByteArray& name, const QByteArray& version, const QByteArrayList& plugins = {},
                   const QByteArray& more = {})
{
    QByteArray xml = "<feature name='" + name + "' version='" + version + "'>" + more + "<plugins>";
    for (int i = 0; i < plugins.size(); ++i)
        xml += "<plugin name='" + plugins.at(i) + "' version='1.2' size='" + QByteArray::number(10 + i) + "'/>";
    return xml + "</plugins></feature>";
}

QByteArray needs(const QByteArrayList& names)
{
    return "<dependencies><feature name='" + names.join("'/><feature name='") + "'/></dependencies>";
}

/// An installed feature.
QByteArray has(const QByteArray& name, const QByteArray& version, const QByteArray& repository = "main")
{
    return "<feature name='" + name + "' version='" + version + "' repository='" + repository + "'/>";
}

/// The values of the result in the order of their documentation; "-" for a key that is absent.
QString values(const cJsonValue& result)
{
    QStringList values;
    for (const char* key : {"result_code", "current_version", "update_to_version", "requires_new_core", "size"})
        values << (result.contains(key) ? UpdateFixture::text(result[key]).remove('"') : "-");
    return values.join(' ');
}

QStringList namesOf(const cUpdateCheck::Features& features)
{
    QStringList names;
    for (const auto& feature : features)
        names << feature->name();
    return names;
}

} // namespace

/// What is found newer, and what is answered.
class tst_cUpdateCheck : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture.reset(QTest::currentTestFunction() + QByteArray(QTest::currentDataTag()));
        m_since = cLogCentral::history().size();
    }
    void compares_data()
    {
        const Rows<QByteArray, QByteArray, QString, QString, QString, QString> row("installed", "repository", "names",
                                                                                   "expected", "features", "plugins");
        const QByteArray v1 = "version='1.0'>";
        const QByteArray v2 = "version='1.2.3'>";
        const QString none = "2 1.00.000 1.00.000 false 0";
        const QString some = "0 1.00.000 1.02.003 false %1";
        row("nothing is newer", has("C", "2.0"), v1 + feature("C", "2.0", {"A"}), "", none, "", "");
        row("older, of the same repository", has("C", "2.0"), v1 + feature("C", "1.9", {"A"}), "", none, "", "");
        row("only the description is newer", has("C", "2.0"), v2 + feature("C", "2.0"), "", some.arg(0), "", "");
        row("newer", has("C", "2.0") + has("D", "1.0"), v2 + feature("D", "1.0") + feature("C", "2.1", {"A", "B"}), "",
            some.arg(21), "C", "A B");
        row("the same from elsewhere", has("C", "2.0", "other"), v2 + feature("C", "2.0"), "", some.arg(0), "C", "");
        row("older from elsewhere", has("C", "2.0", ""), v1 + feature("C", "1.0", {"A"}), "",
            "0 1.00.000 1.00.000 false 10", "C", "A");
        row("a name that is not installed", has("C", "2.0"), v2 + feature("C", "2.0") + feature("N", "0", {"A"}),
            "N C N", some.arg(10), "N", "A");
        row("a shared plugin counts once", has("C", "1") + has("D", "1"),
            v2 + feature("D", "2.1", {"A", "B"}) + feature("C", "2.1", {"B", "A"}), "", some.arg(21), "C D", "B A");
        row("known plugins are not fetched", has("C", "1.0"), v2 + feature("C", "2.1", {"Known", "A"}), "",
            some.arg(11), "C", "A");
        row("known in another version only", has("C", "1.0"),
            v2 + feature("C", "2.1", {"A"}).replace("name='A' version='1.2'", "name='Known' version='1.1'"), "",
            some.arg(10), "C", "Known");
        row("the last dependency first, before the next name", has("C", "1.0") + has("Z", "1.0"),
            v2 + feature("C", "2.0", {}, needs({"D1", "D2", "Z"})) + feature("Z", "1.0") + feature("D1", "1") +
                feature("D2", "1", {}, needs({"E", "C"})) + feature("E", "0"),
            "", some.arg(0), "C D2 E D1", "");
        row("the first feature of a name counts", has("C", "1.0") + has("C", "3.0"),
            v2 + feature("C", "2.0", {"A"}) + feature("C", "4.0"), "", some.arg(10), "C", "A");
        row("sizes beyond 32 bits are held at the end", has("C", "1.0"),
            v2 + feature("C", "2.0", {"A", "B"}).replace("size='1", "size='429496728"), "", some.arg(4294967295), "C",
            "A B");
        row("the development feature is never looked up", has("VelmDev", "1.0") + has("C", "1.0"),
            v2 + feature("C", "1.0"), "", some.arg(0), "", "");
        row("an installed feature is missing", has("C", "1.0") + has("D", "1"), v2 + feature("C", "2.0", {"A"}), "",
            "5 1.00.000 1.02.003 false -", "C", "");
        row("a dependency is missing", has("C", "1.0"), v2 + feature("C", "1.0", {}, needs({"c"})), "",
            "5 1.00.000 1.02.003 false -", "", "");
        row("no features", has("C", "1.0"), v2, "", "2 1.00.000 1.02.003 false -", "", "");
        row("a version of nothing is no repository", has("C", "1.0"), ">" + feature("C", "2.0"), "",
            "2 1.00.000 0.00.000 false -", "", "");
        row("a newer runtime, whatever else", has("D", "1.0"), v2 + "<runtime version='0.0.1'/>" + feature("C", "2"),
            "", "0 1.00.000 1.02.003 true 0", "", "");
        row("not well-formed", has("C", "1.0"), v2 + "<x>", "", "2 1.00.000 0.00.000 false -", "", "");
    }
    void compares()
    {
        QFETCH(QByteArray, installed);
        QFETCH(QByteArray, repository);
        QFETCH(QString, names);
        m_fixture.setInstalled(installed);
        m_fixture.plugins.registerPlugin("Known", cVersion("1.2"));
        m_fixture.write("site/repo/repository.xml", "<r name='main' " + repository + "</r>");

        cUpdateCheck check(m_fixture.manager->installed(), m_fixture.plugins);
        const cJsonValue result = check.run(names.split(' ', Qt::SkipEmptyParts), m_fixture.updates);
        QTEST(values(result), "expected");
        QTEST(namesOf(check.features()).join(' '), "features");
        QStringList plugins;
        for (const auto& plugin : check.plugins())
            plugins << plugin->name();
        QTEST(plugins.join(' '), "plugins");
        QCOMPARE(UpdateFixture::logged("lacks the feature", m_since), int(result["result_code"].toInt() == 5));
        if (names.isEmpty())
            QCOMPARE(values(IConfigMgr::checkForUpdates()), values(result));
    }
    void answersWithoutARepository()
    {
        QFile::remove(m_fixture.path("site/site.xml"));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "2 1.00.000 - - -");
        m_fixture.sandbox.removeMachineValue("ConfigMgr/RepositoryVersion");
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "2 0.00.000 - - -");
    }
    void loadsWhatIsInstalledWhenNothingIs()
    {
        m_fixture.manager->setInstalled(cFeatureCatalogue());
        m_fixture.write("plugins/features.xml", "<r>" + has("C", "2.0") + "</r>");
        m_fixture.setRepository("version='2.0'", feature("C", "1.0"));
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "0 1.00.000 2.00.000 false 0");
    }
    void refusesACheckWithinACheck()
    {
        m_fixture.setRepository("version='2.0'", feature("C", "1.0"));
        QStringList within;
        connect(m_fixture.manager.data(), &cConfigurationMgr::progress, this, [&within] {
            within << values(IConfigMgr::checkForUpdates()) << values(IConfigMgr::doUpdateOn({"C"}));
        });
        QCOMPARE(values(IConfigMgr::checkForUpdates()), "0 1.00.000 2.00.000 false 0");
        QVERIFY(within.size() >= 4 && within.count("4 - - - -") == within.size());
        QCOMPARE(UpdateFixture::logged("a check or an update is under way", m_since), within.size());
    }
    /// Against the rule as it is said: one list, and each name looked for in it.
    void closesOverDependenciesLikeTheRule()
    {
        std::mt19937 engine(4711);
        const auto below = [&engine](int bound) { return int(engine() % uint(bound)); };
        for (int round = 0; round < 60; ++round) {
            const int count = 1 + below(40);
            QHash<QString, QStringList> dependencies;
            QByteArray xml;
            for (int i = 0; i < count; ++i) {
                QByteArrayList names{"F0"};
                for (int n = below(4); n > 0; --n)
                    names << "F" + QByteArray::number(below(count));
                xml += feature("F" + QByteArray::number(i), "1.0", {}, needs(names));
                for (const QByteArray& name : names)
                    dependencies["F" + QString::number(i)] << name;
            }
            QStringList list{"F" + QString::number(count / 2), "F" + QString::number(count - 1)};
            m_fixture.setRepository("version='2.0'", xml);
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
    int m_since = 0;
};

QTEST_GUILESS_MAIN(tst_cUpdateCheck)
#include "tst_cUpdateCheck.moc"
