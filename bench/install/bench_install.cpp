// Installing a repository of 200 packages, from its description to the features file, beside `unzip` of the same
// packages, one process each. The install verifies hashes, manifests and names, writes its journal and its commit mark,
// and has everything on the disk when it ends; unzip does none of this.

#include "config/cConfigurationMgr.h"
#include "install/cInstallMgr.h"
#include "plugins/cPluginMgr.h"

#include <Goals.h>
#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <unistd.h>

namespace {

constexpr int PackageCount = 200;
constexpr int TextCount = 8;
constexpr int LibrarySize = 60000;

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!QFileInfo(path).dir().mkpath(QStringLiteral(".")) || !file.open(QIODevice::WriteOnly) ||
        file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

/// Compresses to about a half, as program code does.
QByteArray libraryBytes(int seed)
{
    QByteArray bytes;
    for (quint32 state = quint32(seed) + 1; bytes.size() < LibrarySize; state = state * 1664525 + 1013904223)
        bytes += QByteArray::number(state >> 8, 16) + char(state >> 24);
    return bytes;
}

void makeSources(const QString& folder, int number)
{
    const QString name = QStringLiteral("Plugin%1").arg(number);
    write(folder + "/Manifest.xml", "<m><plugin name=\"" + name.toUtf8() +
                                        "\" version=\"1.0\" runtime_api_version=\"13\"><start><library filename=\"it\" "
                                        "function=\"create\"/></start></plugin></m>");
    write(folder + "/it.so", libraryBytes(number));
    for (int i = 0; i < TextCount; ++i)
        write(folder + QStringLiteral("/doc/page%1.txt").arg(i),
              QByteArray("A page of text about plugin " + name.toUtf8() + ".\n").repeated(80));
}

/// The repository, and where things are unpacked.
class cBenchRepository
{
public:
    cBenchRepository()
    {
        QByteArray plugins;
        for (int i = 0; i < PackageCount; ++i) {
            const QString sources = m_dir.filePath(QStringLiteral("sources/%1").arg(i));
            const QString package = path(i);
            makeSources(sources, i);
            QDir().mkpath(m_dir.filePath(QStringLiteral("site")));
            QProcess zip;
            zip.setWorkingDirectory(sources);
            zip.start(QStringLiteral("zip"), {QStringLiteral("-qr"), package, QStringLiteral(".")});
            if (!zip.waitForFinished(-1) || zip.exitCode() != 0)
                qFatal("zip does not run");
            const QByteArray bytes = Corvane::FileReadAll(package, nullptr);
            plugins += "<plugin name=\"Plugin" + QByteArray::number(i) + "\" version=\"1.0\"><hash>" +
                       QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex() + "</hash></plugin>\n";
        }
        write(description(), "<r name=\"main\" version=\"1.0\"><feature name=\"Core\" version=\"1.0\"><plugins>" +
                                 plugins + "</plugins></feature></r>");
        QDir(m_dir.filePath(QStringLiteral("sources"))).removeRecursively();
    }

    QString folder() const { return m_dir.path(); }
    QString path(int number) const { return m_dir.filePath(QStringLiteral("site/Plugin%1-1.00.000.zip").arg(number)); }
    QString description() const { return m_dir.filePath(QStringLiteral("site/repository.xml")); }
    QString core() const { return m_dir.filePath(QStringLiteral("core%1").arg(m_round)); }
    QString plugins() const { return core() + QStringLiteral("/plugins"); }

    /// An empty place, and nothing left for the disk to do. What is there stays until the end of the run: some file
    /// systems are slow to make files for seconds after many have been deleted.
    void beginRound()
    {
        ++m_round;
        QDir().mkpath(plugins());
        ::sync();
    }

    /// Whether every file is there, with all of its bytes.
    bool isUnpacked() const
    {
        int files = 0;
        qint64 bytes = 0;
        QDirIterator entries(plugins(),
                             {QStringLiteral("*.txt"), QStringLiteral("*.so"), QStringLiteral("Manifest.xml")},
                             QDir::Files, QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            entries.next();
            ++files;
            bytes += entries.fileInfo().size();
        }
        return files == PackageCount * (TextCount + 2) && bytes > qint64(PackageCount) * LibrarySize;
    }

private:
    QTemporaryDir m_dir;
    int m_round = 0;
};

void installRepository(benchmark::State& state, cBenchRepository& repository)
{
    for (auto _ : state) {
        state.PauseTiming();
        repository.beginRound();
        QSettings settings(QSettings::SystemScope, "Varkel", "Pelmora");
        settings.clear(); // the last round's commit mark
        settings.setValue("InstallDir", repository.core());
        settings.sync();
        Corvane::initializeFolderOrFile();
        cPluginMgr plugins;
        cConfigurationMgr configuration(plugins);
        cInstallMgr manager(configuration, plugins);
        state.ResumeTiming();
        const bool isDone = manager.installFromLocation(repository.description(), false);
        state.PauseTiming();
        if (!isDone || !repository.isUnpacked() || configuration.installed().features().size() != 1)
            state.SkipWithError("not everything is installed");
        state.ResumeTiming();
    }
}

void unzipPackages(benchmark::State& state, cBenchRepository& repository)
{
    for (auto _ : state) {
        state.PauseTiming();
        repository.beginRound();
        state.ResumeTiming();
        for (int i = 0; i < PackageCount; ++i) {
            const QString folder = repository.plugins() + QStringLiteral("/Plugin%1").arg(i);
            QProcess unzip;
            unzip.start(QStringLiteral("unzip"),
                        {QStringLiteral("-q"), repository.path(i), QStringLiteral("-d"), folder});
            unzip.waitForFinished(-1);
        }
        state.PauseTiming();
        if (!repository.isUnpacked())
            state.SkipWithError("not everything is unzipped");
        state.ResumeTiming();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir settings;
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME"})
        qputenv(name, QFile::encodeName(settings.filePath(QString::fromLatin1(name))));
    QCoreApplication application(argc, argv);
    cLogCentral::initialize();
    cBenchRepository repository;
    const auto add = [&](const char* name, void (*run)(benchmark::State&, cBenchRepository&)) {
        benchmark::RegisterBenchmark(name, [&, run](benchmark::State& state) { run(state, repository); })
            ->Iterations(1)
            ->Repetitions(9)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    };
    add("installRepository", installRepository);
    add("unzipPackages", unzipPackages);
    Goals goals(Goals::Round::Median);
    goals.atMost("install_200", "installRepository", "unzipPackages", 1.5);
    return runBenchmarks(argc, argv, goals);
}
