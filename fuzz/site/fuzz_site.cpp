// Any bytes are read as a site description or refused with a reason; the entries, written and read back, are the same.

#include "config/cCatalogueWriter.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool isTrue, const char* claim)
{
    if (isTrue)
        return;
    std::fprintf(stderr, "not so: %s\n", claim);
    std::abort();
}

bool isSame(const cSiteEntry& one, const cSiteEntry& other)
{
    return one.config == other.config && one.status == other.status && one.platform == other.platform &&
           one.update == other.update && one.content == other.content;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray xml(reinterpret_cast<const char*>(data), int(size));
    cSiteReader site;
    if (!site.read(xml)) {
        require(!site.errorString().isEmpty() && site.entries().isEmpty(), "a refused document leaves a reason only");
        return 0;
    }
    cSiteReader back;
    require(back.read(cCatalogueWriter::site(site.entries())), "what is written can be read");
    require(back.entries().size() == site.entries().size(), "every entry is written");
    for (int i = 0; i < back.entries().size(); ++i) {
        const cSiteEntry& entry = site.entries().at(i);
        require(isSame(back.entries().at(i), entry), "an entry keeps its texts");
        require(entry.fits(entry.update, entry.status) ==
                    (entry.config == QLatin1String("release") && entry.platform == QLatin1String("x64")),
                "configuration and platform are fixed");
        require(!entry.fits(entry.update + QLatin1Char('x'), entry.status), "the name is compared whole");
    }
    return 0;
}
