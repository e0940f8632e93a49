// Reading, freeing included, and compact writing, beside other JSON libraries. Usage: bench_json [FOLDER] [options]

#include "Documents.h"
#include "Goals.h"
#include "Peer.h"

namespace {

/// Registered with the peer's answer already held against that of the first peer, outside of what is timed.
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

void registerRead(Peer* peer, const BenchDocument& document)
{
    benchmark::RegisterBenchmark((std::string("read/") + document.name + "/" + peer->name()).c_str(),
                                 [=](benchmark::State& state) {
                                     for (auto _ : state) {
                                         if (!peer->read(document.text))
                                             state.SkipWithError("not read");
                                     }
                                     state.SetBytesProcessed(state.iterations() * document.text.size());
                                 })
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(7)
        ->MinTime(0.1);
}

void registerWrite(Peer* peer, const BenchDocument& document)
{
    benchmark::RegisterBenchmark((std::string("write/") + document.name + "/" + peer->name()).c_str(),
                                 [=](benchmark::State& state) {
                                     if (!peer->keep(document.text))
                                         state.SkipWithError("not read");
                                     for (auto _ : state) {
                                         if (peer->write() == 0)
                                             state.SkipWithError("not written");
                                     }
                                     state.SetBytesProcessed(state.iterations() * document.text.size());
                                     peer->drop();
                                 })
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(7)
        ->MinTime(0.1);
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
            registerRead(peer.get(), document);
            registerWrite(peer.get(), document);
        }
    }
    Goals goals;
    addGoals(goals);
    return documents.empty() ? 1 : runBenchmarks(argc, argv, goals);
}
