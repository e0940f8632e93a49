// An update by patches, of real libraries in two versions: how many bytes of packages and patches an installation
// fetches, of those that the packages have; and the time in which the packages are made again from the old files and
// the patches, beside zlib alone, which inflates and deflates the same packages once.

#include "cDeltaSite.h"

#include "delta/cRebuild.h"

#include <Goals.h>
#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <algorithm>

#include <zlib.h>

namespace {

qint64 sizeOf(const QString& path)
{
    return QFileInfo(path).size();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Inflates @p packed and deflates it again by steps, as `norvale pack` has done it.
QByteArray packAgain(const QByteArray& packed)
{
    QByteArray again(packed.size() + 65536, Qt::Uninitialized);
    char step[65536];
    z_stream reader = {};
    z_stream writer = {};
    reader.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()));
    reader.avail_in = uInt(packed.size());
    writer.next_out = reinterpret_cast<Bytef*>(again.data());
    writer.avail_out = uInt(again.size());
    if (inflateInit2(&reader, -MAX_WBITS) != Z_OK ||
        deflateInit2(&writer, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) != Z_OK)
        return QByteArray();
    int read = Z_OK;
    while (read == Z_OK) {
        reader.next_out = reinterpret_cast<Bytef*>(step);
        reader.avail_out = sizeof step;
        read = inflate(&reader, Z_NO_FLUSH);
        writer.next_in = reinterpret_cast<Bytef*>(step);
        writer.avail_in = uInt(sizeof step) - reader.avail_out;
        deflate(&writer, read == Z_STREAM_END ? Z_FINISH : Z_NO_FLUSH);
    }
    again.truncate(int(writer.total_out));
    inflateEnd(&reader);
    deflateEnd(&writer);
    return again;
}

/// Whether all that is deflated in the archive at @p path comes out as it was.
bool isPackedAgain(const QString& path)
{
    const cZipArchive archive(path);
    const QList<QSharedPointer<cZipEntry>> entries = archive.entries();
    return !entries.isEmpty() && std::all_of(entries.begin(), entries.end(), [](const auto& entry) {
        const QByteArray packed = entry->compressedContent();
        return packed.size() == entry->uncompressedSize() || packAgain(packed) == packed;
    });
}

/// Only what a patch was published for: all else is fetched whole.
QVector<int> patched(const cDeltaSite& site)
{
    QVector<int> found;
    for (int i = 0; i < site.count(); ++i) {
        if (QFileInfo::exists(site.patch(i)))
            found.append(i);
    }
    return found;
}

void rebuild(benchmark::State& state, const cDeltaSite& site)
{
    for (auto _ : state) {
        for (const int i : patched(site)) {
            QBuffer package;
            package.open(QIODevice::WriteOnly);
            cRebuild work(site.patch(i), cRebuild::filesIn(site.folder(i)), sizeOf(site.package(i)));
            if (!work.run(package))
                state.SkipWithError(qPrintable(work.errorString()));
            state.PauseTiming();
            if (package.data() != contentOf(site.package(i)))
                state.SkipWithError("the package is another one");
            state.ResumeTiming();
        }
    }
}

void packAgainWithZlib(benchmark::State& state, const cDeltaSite& site)
{
    for (auto _ : state) {
        for (const int i : patched(site)) {
            if (!isPackedAgain(site.package(i)))
                state.SkipWithError("the package is another one");
        }
    }
}

/// What each library takes, and the share of it that is fetched. @return the share of all of them.
double shareFetched(cDeltaSite& site)
{
    qint64 packages = 0;
    for (int i = 0; i < site.count(); ++i) {
        const qint64 package = sizeOf(site.package(i));
        const qint64 patch = sizeOf(site.patch(i));
        packages += package;
        std::printf("%-24s package %8lld patch %8lld  %.3f\n", qPrintable(QFileInfo(site.package(i)).fileName()),
                    package, patch, patch > 0 ? double(patch) / double(package) : 1);
    }
    const qint64 fetched = site.fetchUpdate();
    std::printf("%d libraries: %lld of %lld bytes fetched\n", site.count(), fetched, packages);
    return double(fetched) / double(packages);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    cDeltaSite site(QStringLiteral(CORPUS_FOLDER));
    Goals goals(Goals::Round::Median);
    if (site.fault().isEmpty()) {
        for (const bool isPeer : {false, true}) {
            benchmark::RegisterBenchmark(isPeer ? "zlib" : "rebuild",
                                         [&, isPeer](benchmark::State& state) {
                                             isPeer ? packAgainWithZlib(state, site) : rebuild(state, site);
                                         })
                ->Iterations(1)
                ->Repetitions(3)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
    } else {
        std::fprintf(stderr, "no delivery_delta and no delivery_rebuild: %s\n", qPrintable(site.fault()));
    }
    goals.custom("delivery_delta", 0.16, false,
                 [&](const Goals&) { return site.fault().isEmpty() ? shareFetched(site) : 0; });
    goals.atMost("delivery_rebuild", "rebuild", "zlib", 1.5);
    return runBenchmarks(argc, argv, goals);
}
