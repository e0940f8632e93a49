#include "lint/PackageManifest.h"

#include "zip/cInflater.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

namespace {

constexpr int Limit = 16 * 1024 * 1024;

} // namespace

QByteArray packageManifest(const cZipArchive& package)
{
    const QSharedPointer<cZipEntry> entry = package.entry(QStringLiteral("Manifest.xml"));
    if (!entry || entry->compressedSize() < 0 || entry->compressedSize() > Limit)
        return QByteArray();
    const QByteArray packed = entry->compressedContent();
    QByteArray bytes;
    if (cInflater().inflate(packed, Limit, {}, &bytes, nullptr))
        return bytes;
    const bool isStored = packed.size() == entry->uncompressedSize();
    return isStored ? packed : QByteArray();
}
