#include "UpdateSite.h"

/// What is kept when the disk refuses or a package is damaged, where the installation lies, and what programs read.
class tst_VCoreInstall : public QObject, private UpdateSite
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void answersInJson_data()
    {
        const Rows<QString> row("members");
        const QString install = "failed_commands features installed left_out reason removed result";
        row("--check", "current_version requires_new_core result_code sites size update_to_version");
        row("--update", "current_version fetched requires_new_core result_code sites size update_to_version");
        row("--update-sites", "sites");
        row("--install", install);
        row("--bootstrap", install);
        row("--uninstall", "folder result waiting");
        row("--verify", "files findings plugins reason result");
        row("--repair", "failed_commands reason repaired result unrepaired");
        row("--report", "file text");
        row("--install-dir", "folder setting");
        row("--disable", "disabled");
        row("--enable", "disabled");
        row("--list", "core_version disabled features plugins running services");
    }
    void answersInJson()
    {
        const QString words = QTest::currentDataTag();
        publish("2.0.0", update());
        const QString site = m_site.folder() + "/repository.xml";
        const QMap<QString, QString> values{{"--install", site}, {"--disable", "A"}, {"--enable", "A"}};
        const Ended ended = m_fixture.run(QString("--json %1 %2").arg(words, values.value(words)).trimmed());
        QTEST(QStringList(QJsonDocument::fromJson(ended.output.toUtf8()).object().keys()).join(' '), "members");
    }

    void showsAndSetsTheInstallation_data()
    {
        const Rows<QString, ExitCode, QString> row("folder", "code", "said");
        row("what is set", "", ExitCode::Ok, "The installation folder is ");
        row("one with plugins", "other", ExitCode::Ok, "The installation folder is ");
        row("one to install from", "fresh", ExitCode::Ok, "The installation folder is ");
        row("none that is there", "nowhere", ExitCode::Usage, "nowhere does not exist");
        row("a file", "other/file", ExitCode::Usage, "file is no folder");
        row("the folder of the plugins", "other/plugins", ExitCode::Usage,
            "the installation folder is the one around it");
        row("an empty one", "empty", ExitCode::Usage, "neither the folder \"plugins\" is in it, nor \"Bootstrap\"");
    }
    void showsAndSetsTheInstallation()
    {
        const auto [folder, code, said] = cells<QString, ExitCode, QString>("folder", "code", "said");
        for (const char* file :
             {"other/file", "other/plugins/features.xml", "fresh/Bootstrap/repository.xml", "empty/x/y"})
            writeFile(m_fixture.path(file), "<repository/>");
        const QString whole = QDir::cleanPath(m_fixture.path(folder));
        m_fixture.expect(QStringList("--install-dir") + (folder.isEmpty() ? QStringList() : QStringList(whole + '/')),
                         code, {said});
        const QString set = QDir::toNativeSeparators(code == ExitCode::Ok && !folder.isEmpty() ? whole : m_suite);
        m_fixture.expect("--install-dir", ExitCode::Ok, {"is " + set + " (\"InstallDir\" in "});
        if (Platform::hasUnixFiles()) { // where settings can be had in a place that is none
            const Ended refused =
                m_fixture.run({"--install-dir", m_suite}, {{"XDG_CONFIG_DIRS", m_fixture.path("other/file")}});
            QCOMPARE(refused.code, int(ExitCode::SettingsFailed));
            QVERIFY2(refused.reasons.contains("other/file/Varkel/Pelmora.conf cannot be written"),
                     qPrintable(refused.reasons));
        }
    }

    void startsWhatIsInstalledWhenNothingElseCanBe()
    {
        publish("2.0.0", update());
        m_fixture.expect("--update", ExitCode::Ok);
        const QString waiting = dropbox() + "/A-2.00.000.zip";
        writeFile(waiting, readFile(waiting).replace(100, 6, "damage"));
        servesA("1.00.000");
        m_fixture.expect("--update", ExitCode::Ok); // fetches anew what was damaged
        servesA("2.00.000");
    }

#ifdef FILE_FAULTS
    /// That nothing is lost, wherever the disk fails, is the kill test's; here it is what a person is told.
    void survivesADiskThatFails_data()
    {
        // What fails is what is done below the folder, or in the suite.
        const Rows<QString, QString, QString, ExitCode, QString> row("words", "fault", "folder", "code", "cause");
        const QString full = "no space is left on the device that holds ", locked = " is read-only";
        row("read-only for the sites", "--update-sites http://example.org", "EROFS 1", m_fixture.path("user"),
            ExitCode::SettingsFailed, Platform::hasUnixFiles() ? locked : "access is denied");
        row("full while it fetches", "--update", "ENOSPC 1", dropbox(), ExitCode::FetchFailed, full);
        row("full while it installs", "--install " + m_site.folder() + "/repository.xml", "ENOSPC 3", "",
            ExitCode::InstallIncomplete, full);
        row("full while a start installs what waits", "--start-only", "ENOSPC 1", "", ExitCode::Ok, full);
        row("read-only while it removes", "--uninstall", "EROFS 1", "", ExitCode::UninstallIncomplete, locked);
    }
    void survivesADiskThatFails()
    {
        const auto [words, fault, folder] = cells<QString, QString, QString>("words", "fault", "folder");
        const auto [code, cause] = cells<ExitCode, QString>("code", "cause");
        publish("2.0.0", update());
        const bool isStart = words == "--start-only";
        if (isStart)
            m_fixture.expect("--update", ExitCode::Ok);
        Variables faults = faultsBelow(folder.isEmpty() ? m_suite : folder, fault);
        if (words.startsWith("--update-sites"))
            faults["FILE_FAULTS_REGISTRY"] = "1";
        const Ended ended = m_fixture.run(wordsOf(words), faults);
        QCOMPARE(ended.code, int(code));
        QVERIFY2(ended.reasons.contains(cause), qPrintable(ended.reasons));
        QCOMPARE(ended.reasons.contains("it waits there; mend the cause"), isStart);
        servesA(isStart ? "2.00.000" : "1.00.000");
    }
    void aFullDiskLosesNoSettings()
    {
        if (!Platform::hasUnixFiles())
            QSKIP("settings stand in the registry");
        const QString file = QSettings(QSettings::UserScope, "Varkel", "VCore").fileName();
        const QByteArray before = readFile(file);
        QVERIFY(before.size() > 20);
        int call = 0;
        for (bool isDone = false; !isDone;) {
            const Variables faults = faultsBelow(QFileInfo(file).path(), QString("ENOSPC %1").arg(++call));
            const Ended ended = m_fixture.run({"--update-sites", "http://example.org"}, faults);
            isDone = ended.code == 0;
            QCOMPARE(ended.code, isDone ? 0 : int(ExitCode::SettingsFailed));
            QCOMPARE(readFile(file) == before, !isDone);
            QVERIFY2(isDone || call == 1 || ended.reasons.contains("no space is left on the device that holds "),
                     qPrintable(ended.reasons));
        }
        QVERIFY2(call > 6, qPrintable(QString::number(call)));
    }
#endif
};

QTEST_GUILESS_MAIN(tst_VCoreInstall)
#include "tst_VCoreInstall.moc"
