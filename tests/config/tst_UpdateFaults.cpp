#include "UpdateFixture.h"

#include "config/cCatalogueReader.h"
#include "config/cDropbox.h"

#include <Platform.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QProcess>

static const char Installed[] = "<feature name='C' version='1.0' repository='main'/>";

static QByteArray bytesOf(const QByteArray& name)
{
    return name.repeated(100000);
}

/// Source and hash of the file NAME beside the description.
static QByteArray package(const QByteArray& name)
{
    const QByteArray hash = QCryptographicHash::hash(bytesOf(name), QCryptographicHash::Sha1).toHex();
    return "<source>" + name + "</source><hash>" + hash + "</hash>";
}

/// A feature with the plugins A 1.0.0 and B, newer than what is installed.
static QByteArray feature(const QByteArray& versionOfB)
{
    return "<feature name='C' version='1.1'><plugins><plugin name='A' version='1.0'>" + package("A") +
           "</plugin><plugin name='B' version='" + versionOfB + "'>" + package("B") + "</plugin></plugins></feature>";
}

/// Fetching an update in a process whose disk fails, or that is killed, at each of its changes of the disk in turn: the
/// pending update stays, or the new one has taken its place, whole; and the next try succeeds.
class tst_UpdateFaults : public QObject
{
    Q_OBJECT

private slots:
    void survives_data()
    {
        const Rows<QByteArray, QByteArray, QString> row("content", "fault", "files");
        for (const char* fault : {"tear", "ENOSPC", "EROFS"}) {
            row(QByteArray("packages, ") + fault, feature("2.0"), fault,
                "Dropbox/A-1.00.000.zip Dropbox/B-2.00.000.zip Dropbox/repository.xml");
            row(QByteArray("runtime, ") + fault, "<runtime version='1.0' name='setup'>" + package("S") + "</runtime>",
                fault, "Dropbox/A-1.00.000.zip Dropbox/B-1.00.000.zip Dropbox/repository.xml setup");
        }
    }
    void survives()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, fault);
        m_fixture.begin(Installed);
        for (const char* name : {"A", "B", "S"})
            m_fixture.write(QString("site/repo/") + name, bytesOf(name));
        m_fixture.offer("version='2.0'", content);

        leaveAPendingUpdate();
        QCOMPARE(update("count"), 0);
        const int changes = Corvane::FileReadAll(m_fixture.path("changes"), nullptr).count('\n');
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

    static QDir dataFolder() { return QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)); }

    void leaveAPendingUpdate() const
    {
        QVERIFY(dataFolder().removeRecursively());
        for (const char* name : {"A", "B"})
            m_fixture.write(dataFolder().filePath(QString("Dropbox/%1-1.00.000.zip").arg(name)), bytesOf(name));
        m_fixture.write(dataFolder().filePath("Dropbox/repository.xml"), "<r version='1.1'>" + feature("1.0") + "</r>");
    }
    /// Whether the description is there, and every package that it names.
    static bool isWhole()
    {
        cFeatureCatalogue update;
        const QString path = Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile);
        if (!cCatalogueReader(update).read(Corvane::FileReadAll(path, nullptr)))
            return false;
        const auto plugins = update.find("C")->plugins();
        return std::all_of(plugins.begin(), plugins.end(),
                           [](const auto& plugin) { return cDropbox().holds(*plugin); });
    }
    static QString files()
    {
        QStringList files;
        for (QDirIterator it(dataFolder().path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
             it.hasNext();)
            files << dataFolder().relativeFilePath(it.next());
        files.sort();
        return files.join(' ');
    }
    /// The result code of an update in a process of its own.
    int update(const QByteArray& fault) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!fault.isEmpty()) {
            environment.insert("LD_PRELOAD", FILE_FAULTS);
            environment.insert("FILE_FAULTS", fault);
            environment.insert("FILE_FAULTS_BELOW", QFileInfo(dataFolder().path()).dir().canonicalPath());
            environment.insert("FILE_FAULTS_REPORT", m_fixture.path("changes"));
            environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
        }
        QProcess process;
        process.setProcessEnvironment(environment);
        Platform::start(process, QCoreApplication::applicationFilePath(), {"--update"});
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
