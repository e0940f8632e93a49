// Reads the bytes as a zip archive, from memory and from a device of somebody else, and unpacks its files; then reads
// them as packed data. What is unpacked is held against zlib.

#include "PlainInflate.h"

#include "zip/Inflate.h"
#include "zip/cZipDirectory.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <QtCore/QBuffer>

#include <cstdint>
#include <cstdlib>

namespace {

constexpr int MaxUnpacked = 50; ///< Files of an input that are unpacked: they may all be the same large one.
constexpr qint64 Limit = 100000;

void require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

/// The record that was listed is acceptable, and has the entry's name and sizes.
void checkRecord(const cZipEntry& entry, const cZipRecord& record)
{
    require(record.isAcceptable() && record.isListed() && record.name == entry.name());
    require(int(record.compressedSize) == entry.compressedSize());
    require(int(record.uncompressedSize) == entry.uncompressedSize());
}

void checkContent(const cZipEntry& entry, const cZipEntry& other)
{
    const QByteArray packed = entry.compressedContent();
    const QByteArray content = entry.content();
    require(packed == other.compressedContent() && content == other.content());
    require(content == plainInflate(packed, quint32(entry.uncompressedSize())));
    QByteArray limited;
    QString error;
    const bool isInflated = Inflate::inflateRaw(packed, Limit, &limited, &error);
    require(isInflated == error.isEmpty() && limited.size() <= Limit && (isInflated || limited.isEmpty()));
    require(content.isEmpty() || content.size() > Limit || (isInflated && limited == content));
}

void checkEntries(const cZipArchive& archive, const cZipArchive& other, const cZipDirectory& directory)
{
    const QList<QSharedPointer<cZipEntry>> entries = archive.entries();
    const QList<QSharedPointer<cZipEntry>> otherEntries = other.entries();
    require(entries.size() == otherEntries.size());
    int next = 0;
    qint64 sum = 0;
    for (int i = 0; i < entries.size(); ++i) {
        while (!directory.record(next).isListed())
            ++next;
        checkRecord(*entries.at(i), directory.record(next++));
        sum += quint32(entries.at(i)->uncompressedSize());
        require(entries.mid(0, i + 1).contains(archive.entry(entries.at(i)->name())));
        if (i < MaxUnpacked)
            checkContent(*entries.at(i), *otherEntries.at(i));
    }
    require(archive.uncompressedSize() == sum);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadWrite);
    cZipDirectory directory;
    const bool isComplete = directory.read(&buffer);
    require(isComplete == directory.errorString().isEmpty());
    cZipArchive other;
    const bool isParsed = other.setArchive(&buffer);
    require(isComplete || !isParsed);
    checkEntries(cZipArchive(bytes), other, directory);
    require(buffer.data() == bytes);
    const quint32 space = size > 0 ? quint32(data[size - 1]) * data[size - 1] : 0;
    require(Inflate::inflateEntry(bytes.constData(), bytes.size(), space) == plainInflate(bytes, space));
    return 0;
}
