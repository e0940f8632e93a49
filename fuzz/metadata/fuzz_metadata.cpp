// Any bytes are read as each kind of metadata or refused with a reason; what is
// read keeps its bounds, and whoever is asked for a path has keys.

#include "trust/CanonicalJson.h"
#include "trust/cTrustMetadata.h"

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

void check(const cTrustMetadata& metadata)
{
    require(CanonicalJson::write(metadata.object()) == metadata.signedBytes(), "what was read is what is signed");
    require(metadata.version() > 0, "versions begin at 1");
    require(metadata.expires().isValid(), "every document expires");
    require(metadata.signedBy(metadata.roles().value(QStringLiteral("root")), metadata.keys()) <=
                metadata.signatures().size(),
            "nobody signs more than once");
    for (const cTrustTarget& target : metadata.targets())
        require(target.length >= 0 && !target.hashes.isEmpty(), "a target has length and hashes");
    for (const cTrustDelegation& delegation : metadata.delegationsOf(QStringLiteral("main/packages/A-1.00.000.zip")))
        require(metadata.delegatedRole(delegation.name).has_value(), "who is asked has keys");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    for (int type = cTrustMetadata::Root; type <= cTrustMetadata::Targets; ++type) {
        QString error;
        const auto metadata = cTrustMetadata::read(cTrustMetadata::Type(type), text, &error);
        require(metadata.has_value() == error.isEmpty(), "a refusal has a reason");
        if (metadata)
            check(*metadata);
    }
    return 0;
}
