// Listing an archive of 10,000 files, and inflating it and one of two large files, beside other zip readers.

#include "Goals.h"
#include "KeepMemory.h"
#include "Peer.h"
#include "cProcessorTime.h"

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

namespace {

using Peers = std::vector<std::unique_ptr<Peer>>;

Peers makePeers()
{
    Peers peers;
    peers.push_back(makeNorvalePeer());
    peers.push_back(makeInflatePeer());
#if defined(NORVALE_HAS_LIBZIP)
    peers.push_back(makeLibzipPeer());
#endif
#if defined(NORVALE_HAS_MINIZIP)
    peers.push_back(makeMinizipPeer());
#endif
#if defined(NORVALE_HAS_QUAZIP)
    peers.push_back(makeQuazipPeer());
#endif
    return peers;
}

bool makeArchives(const QString& folder)
{
    return QProcess::execute(QStringLiteral("python3"), {QStringLiteral(MAKE_ARCHIVES), folder}) == 0;
}

/// The files of an archive by number, size and contents; what the answers are compared by.
struct Contents
{
    size_t files = 0;
    size_t bytes = 0;
    size_t hash = 0;

    void add(const char* data, size_t size)
    {
        ++files;
        bytes += size;
        hash = hash * 31 + std::hash<std::string_view>()({data, size});
    }
    bool operator==(const Contents& other) const
    {
        return files == other.files && bytes == other.bytes && hash == other.hash;
    }
};

/// Holds the answers of each peer against those of the first one, outside of what is timed.
bool haveSameAnswers(const Peers& peers, const std::string& path)
{
    const Listing listing = peers.front()->list(path);
    Contents first;
    for (const auto& peer : peers) {
        Contents contents;
        const bool isRead =
            peer->open(path) && peer->inflateAll([&](const char* bytes, size_t size) { contents.add(bytes, size); });
        if (peer == peers.front())
            first = contents;
        const bool hasListing = peer->name() == std::string("loop") || peer->list(path) == listing;
        if (!isRead || !(contents == first) || !hasListing) {
            std::fprintf(stderr, "%s: %s has other files\n", path.c_str(), peer->name());
            return false;
        }
    }
    std::fprintf(stderr, "%s: %zu files of %zu bytes with every peer\n", path.c_str(), first.files, first.bytes);
    return first.files > 0 && listing.files == first.files && listing.bytes == first.bytes;
}

/// Counts the processor's time, which other programs on the same machine distort least.
void measure(benchmark::State& state, const std::function<bool()>& task)
{
    for (auto _ : state) {
        const cProcessorTime time;
        const bool isDone = task();
        state.SetIterationTime(time.elapsed());
        if (!isDone)
            state.SkipWithError("not done");
    }
}

template <typename Task>
void add(const std::string& name, Task task)
{
    benchmark::RegisterBenchmark(name.c_str(), task)
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Repetitions(9)
        ->MinTime(0.1);
}

void addList(Peer* peer, const std::string& path)
{
    add("list/" + std::string(peer->name()),
        [=](benchmark::State& state) { measure(state, [&] { return peer->list(path).files > 0; }); });
}

void addInflate(Peer* peer, const std::string& what, const std::string& path)
{
    add("inflate/" + what + "/" + peer->name(), [=](benchmark::State& state) {
        if (!peer->open(path))
            state.SkipWithError("not opened");
        size_t bytes = 0;
        measure(state, [&] { return peer->inflateAll([&](const char*, size_t size) { bytes += size; }); });
        state.SetBytesProcessed(int64_t(bytes));
    });
}

void addGoals(Goals& goals)
{
    for (const auto& [peer, target] : {std::pair("libzip", 20.0), {"minizip", 20.0}, {"quazip", 100.0}})
        goals.atLeast("zip_list_" + std::string(peer), "list/" + std::string(peer), "list/norvale", target);
    for (const std::string what : {"many", "large"}) {
        const std::string base = "inflate/" + what + "/";
        goals.atMost("zip_inflate_" + what + "_loop", base + "norvale", base + "loop", 0.7);
        for (const auto& [peer, target] : {std::pair("libzip", 1.3), {"minizip", 1.3}, {"quazip", 1.4}})
            goals.atLeast("zip_inflate_" + what + "_" + peer, base + peer, base + "norvale", target);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QTemporaryDir folder;
    if (!folder.isValid() || !makeArchives(folder.path()))
        return 1;
    const std::string many = folder.filePath(QStringLiteral("many.zip")).toStdString();
    const std::string large = folder.filePath(QStringLiteral("large.zip")).toStdString();
    const Peers peers = makePeers();
    if (!haveSameAnswers(peers, many) || !haveSameAnswers(peers, large))
        return 1;
    for (const auto& peer : peers) {
        if (peer->name() != std::string("loop"))
            addList(peer.get(), many);
        addInflate(peer.get(), "many", many);
        addInflate(peer.get(), "large", large);
    }
    Goals goals(Goals::Round::Fastest);
    addGoals(goals);
    keepMemory();
    return runBenchmarks(argc, argv, goals);
}
