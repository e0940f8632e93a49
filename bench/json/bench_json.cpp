// Reading, freeing included, and compact writing, beside other JSON libraries. Usage: bench_json [FOLDER] [options]

#include "Documents.h"
#include "Goals.h"
#include "KeepMemory.h"
#include "Peer.h"
#include "cProcessorTime.h"

namespace {

/// Holds the answer of each peer against that of the first one, outside of what is timed.
bool haveSameAnswers(const std::vector<std::unique_ptr<Peer>>& peers, const BenchDocument& document)
{
    size_t expected = 0;
    for (const auto& peer : peers) {
        const bool isRead = peer->keep(document.text);
        const size_t values = isRead ? peer->countValues() : 0;
        expected = expected ? expected : values;
        if (!isRead || values != expected) {
            std::fprintf(stderr, "%s: %s has %zu values, expected %zu\n", document.name.c_str(), peer->name(), values,
                         expected);
            return false;
        }
        peer->drop();
    }
    std::fprintf(stderr, "%s: %zu values with every peer\n", document.name.c_str(), expected);
    return true;
}

/// Calls @p task until the library has seen enough, and counts the processor's time, which other programs on the same
/// machine distort least.
void measure(benchmark::State& state, int bytes, const std::function<bool()>& task)
{
    for (auto _ : state) {
        const cProcessorTime time;
        const bool isDone = task();
        state.SetIterationTime(time.elapsed());
        if (!isDone)
            state.SkipWithError("not done");
    }
    state.SetBytesProcessed(state.iterations() * bytes);
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

void registerPeer(Peer* peer, const BenchDocument& document)
{
    const std::string place = "/" + document.name + "/" + peer->name();
    const QByteArray text = document.text;
    add("read" + place,
        [=](benchmark::State& state) { measure(state, text.size(), [&] { return peer->read(text); }); });
    add("write" + place, [=](benchmark::State& state) {
        if (!peer->keep(text))
            state.SkipWithError("not read");
        measure(state, text.size(), [&] { return peer->write() > 0; });
        peer->drop();
    });
}

void addGoals(Goals& goals)
{
    const std::pair<const char*, double> readGoals[] = {{"twitter", 1.25}, {"canada", 2.3}, {"citm", 1.5}};
    for (const auto& [name, target] : readGoals) {
        const std::string document = name;
        goals.atLeast("json_read_" + document, "read/" + document + "/qt", "read/" + document + "/norvale", target);
        goals.atLeast("json_write_" + document, "write/" + document + "/qt", "write/" + document + "/norvale", 4.0);
    }
#if defined(NORVALE_HAS_RAPIDJSON)
    goals.atLeast("json_write_canada_rapidjson", "write/canada/rapidjson", "write/canada/norvale", 1.0);
#endif
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<BenchDocument> documents = loadDocuments(argc, argv);
    const std::vector<std::unique_ptr<Peer>> peers = makePeers();
    for (const BenchDocument& document : documents) {
        if (!haveSameAnswers(peers, document))
            return 1;
        for (const auto& peer : peers) {
            registerPeer(peer.get(), document);
        }
    }
    Goals goals(Goals::Round::Fastest);
    addGoals(goals);
    keepMemory();
    return documents.empty() ? 1 : runBenchmarks(argc, argv, goals);
}
