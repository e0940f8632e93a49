#include "UpdateFixture.h"

#include "config/cCatalogueReader.h"
#include "config/cDropbox.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QProcess>

/// Fetching an update in a process whose disk fails, or that is killed, at each of its changes of the disk in turn. A
/// pending update stays, or the new one has taken its place, whole; and the next try succeeds.
class tst_UpdateFaults : public QObject
{
    Q_OBJECT

private slots:
    void survives_data()
    {
        const Rows<QByteArray, QByteArray, QStringList> row("content", "fault", "files");
        const QByteArray packages = feature("<plugin name='A' version='1.0'>" + package("A") + "</plugin>" +
                                            "<plugin name='B' version='2.0'>" + package("B") + "</plugin>");
        const QByteArray runtime = "<runtime version='1.0' name='setup'>" + package("S") + "</runtime>";
        for (const char* fault : {"tear", "ENOSPC", "EROFS"}) {
            row(QByteArray("packages, ") + fault, packages, fault,
                {"Dropbox/A-1.00.000.zip", "Dropbox/B-2.00.000.zip", "Dropbox/repository.xml"});
            row(QByteArray("runtime, ") + fault, runtime, fault,
                {"Dropbox/A-1.00.000.zip", "Dropbox/B-1.00.000.zip", "Dropbox/repository.xml", "setup"});
        }
    }
    void survives()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, fault);
        m_fixture.reset(QTest::currentDataTag());
        for (const char* name : {"A", "B", "S"})
            m_fixture.write(QString("site/repo/") + name, bytesOf(name));
        m_fixture.setInstalled(feature(""));
        m_fixture.setRepository("version='2.0'", content);
        const int changes = countChanges();
        QVERIFY(changes > 4);
        for (int i = 1; i <= changes; ++i) {
            leaveAPendingUpdate();
            const int code = update(fault + ' ' + QByteArray::number(i));
            const bool isExpected = fault == "tear" ? code == Killed : code == 3 || code == 0;
            QVERIFY2(isExpected && isWhole(), qPrintable(QString("change %1, code %2").arg(i).arg(code)));
            QCOMPARE(update(""), 0);
            QTEST(files(), "files");
            QVERIFY(isWhole());
        }
    }

private:
    static constexpr int Killed = -1;

    static QByteArray bytesOf(const QByteArray& name) { return name.repeated(100000); }
    static QByteArray package(const QByteArray& name)
    {
        return "<source>" + name + "</source><hash>" +
               QCryptographicHash::hash(bytesOf(name), QCryptographicHash::Sha1).toHex() + "</hash>";
    }
    static QByteArray feature(const QByteArray& plugins)
    {
        return "<feature name='C' version='1." + QByteArray(plugins.isEmpty() ? "0" : "1") +
               "' repository='main'><plugins>" + plugins + "</plugins></feature>";
    }
    static QString dataFolder() { return Corvane::velmiraFolderOrFile(Corvane::DataFolder); }

    void leaveAPendingUpdate()
    {
        QVERIFY(QDir(dataFolder()).removeRecursively());
        const QString dropbox = QDir(m_fixture.path("")).relativeFilePath(dataFolder()) + "/Dropbox/";
        QByteArray plugins;
        for (const char* name : {"A", "B"}) {
            m_fixture.write(dropbox + name + "-1.00.000.zip", bytesOf(name));
            plugins += "<plugin name='" + QByteArray(name) + "' version='1.0'>" + package(name) + "</plugin>";
        }
        m_fixture.write(dropbox + "repository.xml", "<r version='1.1'>" + feature(plugins) + "</r>");
    }
    /// Whether the description is there, and every package that it names.
    static bool isWhole()
    {
        cFeatureCatalogue update;
        const QString path = Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile);
        if (!cCatalogueReader(update).read(Corvane::FileReadAll(path, nullptr)))
            return false;
        for (const auto& plugin : update.find("C")->plugins()) {
            if (!cDropbox().holds(*plugin))
                return false;
        }
        return true;
    }
    static QStringList files()
    {
        QStringList files;
        for (QDirIterator it(dataFolder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
            files << QDir(dataFolder()).relativeFilePath(it.next());
        files.sort();
        return files;
    }

    int countChanges()
    {
        leaveAPendingUpdate();
        const QString report = m_fixture.path("changes");
        qputenv("FILE_FAULTS_REPORT", report.toLocal8Bit());
        const int code = update("count");
        qunsetenv("FILE_FAULTS_REPORT");
        return code == 0 ? Corvane::FileReadAll(report, nullptr).count('\n') : 0;
    }
    /// The result code of an update in a process of its own.
    static int update(const QByteArray& fault)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!fault.isEmpty()) {
            environment.insert("LD_PRELOAD", FILE_FAULTS);
            environment.insert("FILE_FAULTS", fault);
        }
        environment.insert("FILE_FAULTS_BELOW", QFileInfo(dataFolder()).dir().canonicalPath());
        environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {"--update"});
        const bool hasEnded = process.waitForFinished();
        return hasEnded && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : Killed;
    }

    UpdateFixture m_fixture;
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2 || argv[1] != QByteArray("--update")) {
        tst_UpdateFaults test;
        return QTest::qExec(&test, argc, argv);
    }
    QCoreApplication::setOrganizationName("NorvaleTests");
    QCoreApplication::setApplicationName("Fixture");
    return Corvane::initialize() ? IConfigMgr::doUpdateOn({})["result_code"].toInt() : 100;
}
#include "tst_UpdateFaults.moc"
