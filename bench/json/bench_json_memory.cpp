// Peak memory of reading a document, beside other JSON libraries. Usage: bench_json_memory [FOLDER]
//
// Counts every block of the C heap, which new and Qt's containers use as well, with what the allocator really gives for
// it. A program of its own, so that the counting does not slow the timed ones.

#include "Documents.h"
#include "Goals.h"
#include "Peer.h"

#include <malloc.h>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
}

namespace {

size_t s_current = 0;
size_t s_peak = 0;

/// The allocator keeps one word in front of each block.
size_t sizeOf(void* block)
{
    return block ? malloc_usable_size(block) + sizeof(size_t) : 0;
}

void* counted(void* block)
{
    s_current += sizeOf(block);
    s_peak = std::max(s_peak, s_current);
    return block;
}

} // namespace

extern "C" void* malloc(size_t size)
{
    return counted(__libc_malloc(size));
}

extern "C" void* calloc(size_t count, size_t size)
{
    return counted(__libc_calloc(count, size));
}

extern "C" void* realloc(void* block, size_t size)
{
    s_current -= sizeOf(block);
    return counted(__libc_realloc(block, size));
}

extern "C" void free(void* block)
{
    s_current -= sizeOf(block);
    __libc_free(block);
}

namespace {

/// The most that was in use at once while @p peer read @p text, above what was in use before.
double peakOf(Peer& peer, const QByteArray& text)
{
    const size_t before = s_current;
    s_peak = before;
    const bool isRead = peer.keep(text);
    const size_t peak = s_peak - before;
    const size_t kept = s_current - before;
    peer.drop();
    std::printf("%-10s peak %9.0f KiB, document %9.0f KiB, left %zd bytes\n", peer.name(), double(peak) / 1024,
                double(kept) / 1024, ssize_t(s_current - before));
    return isRead ? double(peak) : 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::pair<const char*, double> targets[] = {{"twitter", 1.2}, {"canada", 1.9}, {"citm", 1.2}};
    const std::vector<BenchDocument> documents = loadDocuments(argc, argv);
    Goals goals(Goals::Round::Fastest);
    for (size_t i = 0; i < documents.size(); ++i) {
        std::printf("%s\n", documents[i].name.c_str());
        std::vector<double> peaks;
        for (const auto& peer : makePeers())
            peaks.push_back(peakOf(*peer, documents[i].text));
        const double ratio = peaks[1] > 0 ? peaks[0] / peaks[1] : 0;
        goals.custom(std::string("json_memory_") + targets[i].first, targets[i].second, false,
                     [=](const Goals&) { return ratio; });
    }
    goals.print();
    return documents.empty() ? 1 : 0;
}
