#include "Goals.h"
#include "cSignedDocuments.h"

#include "trust/cTrustClient.h"

#include <gcrypt.h>

#include <QtCore/QTemporaryDir>

// What trust costs: looking a package up by its hash, and verifying the documents that name many.

namespace {

/// An installation that trusts a site, and a package of 100 MB of that site.
struct Suite
{
    QTemporaryDir folder;
    cSignedDocuments site{1000};
    QByteArray package = QByteArray(100 * 1000 * 1000, 'p');
    cTrustClient client{folder.path()};

    bool begin()
    {
        site.addPackage("Large-1.00.000.zip", package);
        site.sign();
        return client.trust(site.document("1.root.json")) && client.refresh(site);
    }
};

void bareHash(benchmark::State& state, const QByteArray& package)
{
    char hash[32];
    for (auto step : state) {
        gcry_md_hash_buffer(GCRY_MD_SHA256, hash, package.constData(), size_t(package.size()));
        benchmark::DoNotOptimize(hash);
    }
}

void verified(benchmark::State& state, const Suite& suite)
{
    for (auto step : state) {
        const QByteArray hash = Cryptography::sha256(suite.package);
        if (!suite.client.findContent(hash, suite.package.size(), "Large-1.00.000.zip"))
            state.SkipWithError("not trusted");
    }
}

/// The whole workflow, without transfers.
void refresh(benchmark::State& state, int packages)
{
    cSignedDocuments site(packages);
    site.sign();
    for (auto step : state) {
        state.PauseTiming();
        const QTemporaryDir folder;
        cTrustClient client(folder.path());
        const bool isBegun = client.trust(site.document("1.root.json"));
        state.ResumeTiming();
        if (!isBegun || !client.refresh(site))
            state.SkipWithError(qPrintable(client.errorString()));
    }
}

} // namespace

int main(int argc, char** argv)
{
    Suite suite;
    if (!suite.begin()) {
        std::fprintf(stderr, "%s\n", qPrintable(suite.client.errorString()));
        return 1;
    }
    const auto add = [](const char* name, std::function<void(benchmark::State&)> task) {
        benchmark::RegisterBenchmark(name, task)->Unit(benchmark::kMillisecond)->Repetitions(9)->MinTime(0.1);
    };
    add("hash/bare", [&](benchmark::State& state) { bareHash(state, suite.package); });
    add("hash/verified", [&](benchmark::State& state) { verified(state, suite); });
    add("refresh/1000", [](benchmark::State& state) { refresh(state, 1000); });
    add("refresh/10000", [](benchmark::State& state) { refresh(state, 10000); });
    Goals goals(Goals::Round::Fastest);
    goals.growth("trust_refresh", "refresh/10000", "refresh/1000");
    goals.atMost("trust_hash", "hash/verified", "hash/bare", 1.1);
    return runBenchmarks(argc, argv, goals);
}
