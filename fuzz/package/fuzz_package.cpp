// Holds the bytes against the rules of packages. Of one that is accepted, every name must be a way down from the
// plugin's folder, and every file must unpack to what the archive reader gives for it.

#include "install/cPackage.h"
#include "install/cPackageCheck.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <QtCore/QDir>

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

void checkFile(const cPackage& package, const cZipRecord& record, const cZipArchive& archive)
{
    const QString folder = QStringLiteral("/plugins/A-1.00.000");
    require(QDir::cleanPath(folder + '/' + record.name) == folder + '/' + record.name);
    require(!record.name.contains('\\') && !record.name.contains(':'));
    QByteArray content;
    QString error;
    require(package.readContent(record, &content, &error));
    const QSharedPointer<cZipEntry> entry = archive.entry(record.name);
    require(!entry.isNull());
    const QByteArray packed = entry->compressedContent(); // nothing where the sizes stand behind the data
    require(packed.isEmpty() || content == (record.method == 0 ? packed : entry->content()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    cPackageCheck::Limits limits;
    limits.unpackedSize = 1000000;
    cPackageCheck check(limits);
    if (!check.check(bytes)) {
        require(!check.findings().isEmpty() && !check.summary().isEmpty());
        return 0;
    }
    cPackage package;
    package.setBytes(bytes);
    require(package.readDirectory());
    const cZipArchive archive(bytes);
    int listed = 0;
    for (const cZipRecord& record : package.records()) {
        if (record.isListed()) {
            ++listed;
            checkFile(package, record, archive);
        }
    }
    require(listed == archive.entries().size() && !check.id().isNull());
    return 0;
}
