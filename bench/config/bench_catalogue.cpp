// Reading a catalogue document, from its bytes to records and index and their release, in three sizes.

#include "config/cCatalogueReader.h"
#include "config/cFeatureCatalogue.h"

#include <Goals.h>

#include <QtCore/QByteArray>
#include <QtCore/QHash>

namespace {

/// @p count features of three plugins each, as a repository description has them.
QByteArray makeDocument(int count)
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<repository name=\"main\" version=\"3.12.004\">\n";
    for (int i = 0; i < count; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "  <feature name=\"Feature" + number + "\" version=\"1.2." + QByteArray::number(i % 900) +
               "\" active=\"true\">\n    <displayname lang=\"en-us\">Feature number " + number +
               "</displayname>\n    <displayname lang=\"de\">Merkmal Nummer " + number +
               "</displayname>\n    <dependencies><feature name=\"Feature" + QByteArray::number(i / 2) +
               "\"/></dependencies>\n    <plugins>\n";
        for (const char* suffix : {"Core", "View", "Tools"}) {
            xml += "      <plugin name=\"Plugin" + number + suffix +
                   "\" version=\"1.2.3\" size=\"123456\"><source>Plugin" + number + suffix + "-1.02.003.zip</source>" +
                   "<hash method=\"sha1\">da39a3ee5e6b4b0d3255bfef95601890afd80709</hash></plugin>\n";
        }
        xml += "    </plugins>\n  </feature>\n";
    }
    return xml + "</repository>\n";
}

/// The documents live until the end of the run, so that no size pays for the release of another.
const QByteArray& document(int count)
{
    static QHash<int, QByteArray> documents;
    if (!documents.contains(count))
        documents.insert(count, makeDocument(count));
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
        cFeatureCatalogue catalogue;
        if (!cCatalogueReader(catalogue).read(xml) || !isComplete(catalogue, count))
            state.SkipWithError("the catalogue is not what the document says");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

BENCHMARK(readCatalogue)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    Goals goals;
    goals.atMost("catalogue_10k", "readCatalogue/10000", "readCatalogue/1000", 13);
    goals.atMost("catalogue_100k", "readCatalogue/100000", "readCatalogue/10000", 13);
    return runBenchmarks(argc, argv, goals);
}
