// Fetching with the queue, from nginx on this machine: many small files over a relay that delays each way, beside the
// same files one after the other; one large file beside a bare network access manager with a hash; and what is fetched
// twice when the line is cut in the middle of it or the process is killed there. Every file is whole, hashed and
// flushed to the disk when its time ends.
//
//   bench_delivery [--fetch URL PATH SHA1]     with the arguments: fetches one file by the queue

#include "cNginx.h"
#include "cRelay.h"

#include "config/cDownloader.h"
#include "config/cFetchQueue.h"
#include "disk/WholeFiles.h"

#include <Goals.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QEventLoop>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QThread>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QNetworkRequest>

#include <algorithm>
#include <functional>

namespace {

constexpr int ManyCount = 200;
constexpr int ManySize = 20 * 1024;
constexpr int LargeSize = 100000000;
constexpr int Delay = 50; // milliseconds each way

/// A file on the server and its SHA-1.
struct Sample
{
    QString name;
    QByteArray sha1;
};

Sample makeSample(const cNginx& server, const QString& name, int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator(quint32(qHash(name)))
        .fillRange(reinterpret_cast<quint32*>(bytes.data()), size / int(sizeof(quint32)));
    QFile file(server.path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != size)
        qFatal("The site cannot be written");
    return {name, QCryptographicHash::hash(bytes, QCryptographicHash::Sha1)};
}

/// An empty folder for each round. What is there stays until the end of the run: some file systems are slow to make
/// files for seconds after many have been deleted.
class cRounds
{
public:
    QString begin()
    {
        const QString folder = m_dir.filePath(QString::number(++m_round));
        QDir().mkpath(folder);
        return folder + QLatin1Char('/');
    }

private:
    QTemporaryDir m_dir;
    int m_round = 0;
};

QSharedPointer<cFetch> fetchOf(const QUrl& url, const QString& path, const QByteArray& sha1)
{
    cFetch::Order order;
    order.path = path;
    order.sources = {{url, 0}};
    order.sha1 = sha1;
    return QSharedPointer<cFetch>::create(order);
}

/// @return whether all of them succeed.
bool run(const QVector<QSharedPointer<cFetch>>& fetches)
{
    cFetchQueue queue(cFetchQueue::MostTransfers);
    for (const QSharedPointer<cFetch>& fetch : fetches)
        queue.add(fetch);
    queue.wait();
    return std::all_of(fetches.begin(), fetches.end(), [](const auto& fetch) { return fetch->hasSucceeded(); });
}

bool fetchByQueue(const QVector<Sample>& samples, const std::function<QUrl(const QString&)>& url, const QString& folder)
{
    QVector<QSharedPointer<cFetch>> fetches;
    for (const Sample& sample : samples)
        fetches.append(fetchOf(url(sample.name), folder + sample.name, sample.sha1));
    return run(fetches);
}

bool fetchOneByOne(const QVector<Sample>& samples, const std::function<QUrl(const QString&)>& url,
                   const QString& folder)
{
    cDownloader downloader;
    return std::all_of(samples.begin(), samples.end(), [&](const Sample& sample) {
        return downloader.download(url(sample.name)) && downloader.digestResult() == sample.sha1 &&
               replaceFile(folder + sample.name, downloader.data(), nullptr);
    });
}

bool fetchByBareManager(const QVector<Sample>& samples, const std::function<QUrl(const QString&)>& url,
                        const QString& folder)
{
    QNetworkAccessManager manager;
    return std::all_of(samples.begin(), samples.end(), [&](const Sample& sample) {
        QFile file(folder + sample.name);
        QCryptographicHash hash(QCryptographicHash::Sha1);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        QNetworkReply* reply = manager.get(QNetworkRequest(url(sample.name)));
        QEventLoop loop;
        const auto take = [&] {
            const QByteArray bytes = reply->readAll();
            hash.addData(bytes);
            file.write(bytes);
        };
        QObject::connect(reply, &QNetworkReply::readyRead, &loop, take);
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        take();
        return hash.result() == sample.sha1 && flushFile(file);
    });
}

bool isThere(const QVector<Sample>& samples, const QString& folder)
{
    return std::all_of(samples.begin(), samples.end(), [&](const Sample& sample) {
        QFile file(folder + sample.name);
        QCryptographicHash hash(QCryptographicHash::Sha1);
        return file.open(QIODevice::ReadOnly) && hash.addData(&file) && hash.result() == sample.sha1;
    });
}

using Fetch = bool (*)(const QVector<Sample>&, const std::function<QUrl(const QString&)>&, const QString&);

void registerRow(const char* name, int rounds, cRounds& folders, const QVector<Sample>& samples,
                 const std::function<QUrl(const QString&)>& url, Fetch fetch)
{
    benchmark::RegisterBenchmark(name,
                                 [=, &folders](benchmark::State& state) {
                                     for (auto _ : state) {
                                         state.PauseTiming();
                                         const QString folder = folders.begin();
                                         state.ResumeTiming();
                                         const bool isDone = fetch(samples, url, folder);
                                         state.PauseTiming();
                                         if (!isDone || !isThere(samples, folder))
                                             state.SkipWithError("not everything is fetched");
                                         state.ResumeTiming();
                                     }
                                 })
        ->Iterations(1)
        ->Repetitions(rounds)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

/// The share of @p sample that goes over the wire twice when it is fetched on after @p interrupt, which lets the relay
/// end the first half of it; 0 when that fails.
double fetchedTwice(const Sample& sample, cRelay& relay, const QUrl& url,
                    const std::function<bool(const QString& path)>& interrupt)
{
    cRounds folders;
    const QString path = folders.begin() + sample.name;
    relay.takeSent();
    if (!interrupt(path) || !cFetch::hasPart(path) || !run({fetchOf(url, path, sample.sha1)}))
        return 0;
    return double(relay.takeSent() - LargeSize) / LargeSize;
}

double fetchedTwiceAfterCut(const Sample& sample, cRelay& relay, const QUrl& url)
{
    return fetchedTwice(sample, relay, url, [&](const QString& path) {
        relay.cutAfter(LargeSize / 2);
        return !run({fetchOf(url, path, sample.sha1)}) && relay.waitForEnd();
    });
}

/// The child has had all bytes that the relay has sent, for half a second, when it is killed.
double fetchedTwiceAfterKill(const Sample& sample, cRelay& relay, const QUrl& url)
{
    return fetchedTwice(sample, relay, url, [&](const QString& path) {
        relay.holdAfter(LargeSize / 2);
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(),
                    {"--fetch", url.toString(), path, QString::fromLatin1(sample.sha1.toHex())});
        const bool isHeld = relay.waitForEnd();
        QThread::msleep(500);
        child.kill();
        return child.waitForFinished(-1) && isHeld;
    });
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    cLogCentral::initialize();
    if (argc == 5 && qstrcmp(argv[1], "--fetch") == 0)
        return run({fetchOf(QUrl(argv[2]), QFile::decodeName(argv[3]), QByteArray::fromHex(argv[4]))}) ? 0 : 1;

    const cNginx server;
    cRelay longLine(server.url({}), Delay);
    cRelay line(server.url({}), 0);
    if (!server.isRunning() || !longLine.isRunning() || !line.isRunning()) {
        std::fprintf(stderr, "no server to fetch from\n");
        return 1;
    }
    QVector<Sample> many;
    for (int i = 0; i < ManyCount; ++i)
        many.append(makeSample(server, QStringLiteral("%1.zip").arg(i), ManySize));
    const Sample large = makeSample(server, QStringLiteral("large.zip"), LargeSize);

    cRounds folders;
    const auto farAway = [&](const QString& name) { return longLine.through(server.url(name)); };
    const auto here = [&](const QString& name) { return server.url(name); };
    registerRow("queue/many", 3, folders, many, farAway, fetchByQueue);
    registerRow("oneByOne/many", 3, folders, many, farAway, fetchOneByOne);
    registerRow("queue/one", 9, folders, {large}, here, fetchByQueue);
    registerRow("bareManager/one", 9, folders, {large}, here, fetchByBareManager);

    Goals goals(Goals::Round::Median);
    const QUrl throughLine = line.through(server.url(large.name));
    goals.atMost("delivery_many", "queue/many", "oneByOne/many", 0.2);
    goals.atMost("delivery_one", "queue/one", "bareManager/one", 1.05);
    goals.custom("delivery_cut", 0.003, false,
                 [&](const Goals&) { return fetchedTwiceAfterCut(large, line, throughLine); });
    goals.custom("delivery_killed", 0.003, false,
                 [&](const Goals&) { return fetchedTwiceAfterKill(large, line, throughLine); });
    return runBenchmarks(argc, argv, goals);
}
