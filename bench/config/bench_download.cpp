// Downloads from nginx on this machine: 1 MB and 100 MB into memory with their SHA-1, beside a bare network access
// manager with a hash over the same bytes; and the memory that a download into a device takes, in a child process.
//
//   bench_download [--to-device URL]     with the argument: downloads into a file and prints the growth of the peak

#include "cNginx.h"
#include "config/cDownloader.h"

#include <Goals.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryFile>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QNetworkRequest>

namespace {

QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

/// A file on the server and what a download of it must answer.
struct Sample
{
    QUrl url;
    QByteArray digest;
};

bool makeSample(const cNginx& server, const QString& name, int size, Sample* sample)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(bytes.data()), size / int(sizeof(quint32)));
    QFile file(server.path(name));
    *sample = {server.url(name), sha1(bytes)};
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == size;
}

// Each download has a manager of its own, as each package has: connecting and leaving are part of it.

QByteArray digestByDownloader(const QUrl& url)
{
    cDownloader downloader;
    return downloader.download(url) ? downloader.digestResult() : QByteArray();
}

QByteArray digestByBareManager(const QUrl& url)
{
    QNetworkAccessManager manager;
    QNetworkReply* reply = manager.get(QNetworkRequest(url));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return sha1(reply->readAll());
}

void download(benchmark::State& state, const Sample* sample, QByteArray (*digest)(const QUrl&))
{
    for (auto _ : state) {
        if (digest(sample->url) != sample->digest)
            state.SkipWithError("the download is not what lies on the server");
    }
}

/// Kilobytes. Not that of getrusage: it counts what the process was before it became this program.
long peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    const QByteArray text = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
    const int at = text.indexOf("VmHWM:");
    return at < 0 ? 0 : text.mid(at + 6, 10).trimmed().toLong();
}

int downloadToDevice(const QUrl& url)
{
    const long before = peakMemory();
    QTemporaryFile file;
    cDownloader downloader;
    if (!file.open() || !downloader.download(url, &file))
        return 1;
    std::printf("%ld\n", peakMemory() - before);
    return 0;
}

/// In a process of its own: the median growth of its peak while @p sample goes into a file, in kilobytes; 0 for none.
double growthOfChild(const Sample& sample)
{
    std::vector<double> growths;
    for (int i = 0; i < 5; ++i) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--to-device", sample.url.toString()});
        child.waitForFinished(-1);
        growths.push_back(child.exitCode() == 0 ? child.readAll().trimmed().toDouble() : 0);
    }
    std::sort(growths.begin(), growths.end());
    std::printf("into a device: %s, %.0f KiB\n", qPrintable(sample.url.fileName()), growths[2]);
    return growths[2];
}

void registerRows(const char* size, const Sample* sample)
{
    for (const bool isPeer : {false, true}) {
        const std::string name = std::string(isPeer ? "bareManager/" : "downloader/") + size;
        benchmark::RegisterBenchmark(name.c_str(), download, sample, isPeer ? digestByBareManager : digestByDownloader)
            ->MinTime(0.1)
            ->Repetitions(21)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--to-device") == 0)
        return downloadToDevice(QUrl(QString::fromLocal8Bit(argv[2])));

    const cNginx server;
    Sample small;
    Sample large;
    if (!server.isRunning() || !makeSample(server, "1mb", 1000000, &small) ||
        !makeSample(server, "100mb", 100000000, &large)) {
        std::fprintf(stderr, "no server to download from\n");
        return 1;
    }
    registerRows("1mb", &small);
    registerRows("100mb", &large);

    Goals goals(Goals::Round::Median);
    goals.atMost("download_1mb", "downloader/1mb", "bareManager/1mb", 1.1);
    goals.atMost("download_100mb", "downloader/100mb", "bareManager/100mb", 1.1);
    goals.custom("download_memory", 1.2, false, [&](const Goals&) {
        const double below = growthOfChild(small);
        return below > 0 ? growthOfChild(large) / below : 0;
    });
    return runBenchmarks(argc, argv, goals);
}
