// Reading a catalogue document, from its bytes to records and index and their release, in three sizes, beside a bare
// parse of the same bytes.

#include "SampleRepository.h"

#include "config/cCatalogueReader.h"
#include "config/cFeatureCatalogue.h"

#include <Goals.h>
#include <KeepMemory.h>
#include <cProcessorTime.h>

#include <QtCore/QByteArray>
#include <QtCore/QHash>

namespace {

/// The documents live until the end of the run, so that no size pays for the release of another.
const QByteArray& document(int count)
{
    static QHash<int, QByteArray> documents;
    if (!documents.contains(count))
        documents.insert(count, sampleRepository(count));
    return documents[count];
}

bool isComplete(const cFeatureCatalogue& catalogue, int count)
{
    if (catalogue.features().size() != count)
        return false;
    for (const int place : {0, count / 2, count - 1}) {
        const auto feature = catalogue.find(QStringLiteral("Feature%1").arg(place));
        if (feature != catalogue.features().at(place) || feature->plugins().size() != 3)
            return false;
    }
    return true;
}

void readCatalogue(benchmark::State& state)
{
    const int count = int(state.range(0));
    const QByteArray& xml = document(count);
    for (auto _ : state) {
        const cProcessorTime time;
        {
            cFeatureCatalogue catalogue;
            if (!cCatalogueReader(catalogue).read(xml) || !isComplete(catalogue, count))
                state.SkipWithError("the catalogue is not what the document says");
        }
        state.SetIterationTime(time.elapsed());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void parseBare(benchmark::State& state)
{
    const int count = int(state.range(0));
    const QByteArray& xml = document(count);
    for (auto _ : state) {
        const cProcessorTime time;
        if (parsePlainly(xml) == 0)
            state.SkipWithError("the document is not well-formed");
        state.SetIterationTime(time.elapsed());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void inThreeSizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Repetitions(9)->Unit(benchmark::kMillisecond)->UseManualTime();
}

BENCHMARK(readCatalogue)->Apply(inThreeSizes);
BENCHMARK(parseBare)->Apply(inThreeSizes);

} // namespace

int main(int argc, char** argv)
{
    keepMemory();
    joinFreedMemory();
    Goals goals(Goals::Round::Fastest);
    goals.atMost("catalogue_10k", "readCatalogue/10000", "parseBare/10000", 1.5);
    goals.atMost("catalogue_100k", "readCatalogue/100000", "parseBare/100000", 1.5);
    goals.growth("catalogue_10k", "readCatalogue/10000", "readCatalogue/1000");
    goals.growth("catalogue_100k", "readCatalogue/100000", "readCatalogue/10000");
    return runBenchmarks(argc, argv, goals);
}
