// Reads the bytes as a zip archive, from memory and from a device of somebody else, and unpacks its files; then reads
// them as packed data. What is unpacked is held against zlib.

#include "PlainInflate.h"

#include "zip/cInflater.h"
#include "zip/cZipDirectory.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <QtCore/QBuffer>

#include <cstdint>
#include <cstdlib>

namespace {

constexpr int MaxUnpacked = 50; // files of an input that are unpacked: they may all be the same large one.
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

/// Whether @p content is what zlib makes of a stream. When a flaw changes no byte of the contents, libdeflate may give
/// them where zlib calls the stream damaged; they are then what the archive states.
bool isRight(const QByteArray& content, const QByteArray& plain, cInflater::Stated stated)
{
    const cInflater::Stated own = statedOf(content);
    return content == plain || (plain.isEmpty() && own.size == stated.size && own.crc == stated.crc);
}

void checkContent(const cZipEntry& entry, const cZipEntry& other, const cZipRecord& record)
{
    const QByteArray packed = entry.compressedContent();
    const QByteArray content = entry.content();
    require(packed == other.compressedContent() && content == other.content());
    require(isRight(content, plainInflate(packed, record.uncompressedSize), {record.uncompressedSize, record.crc}));
    QByteArray limited;
    QString error;
    const bool isInflated = cInflater().inflate(packed, Limit, statedOf(content), &limited, &error);
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
        const cZipRecord record = directory.record(next++);
        checkRecord(*entries.at(i), record);
        sum += quint32(entries.at(i)->uncompressedSize());
        require(entries.mid(0, i + 1).contains(archive.entry(entries.at(i)->name())));
        if (i < MaxUnpacked)
            checkContent(*entries.at(i), *otherEntries.at(i), record);
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
    const QByteArray content = plainInflate(bytes, space);
    cInflater inflater;
    require(inflater.inflateEntry(bytes, {space, 0}) == content);
    require(inflater.inflateEntry(bytes, statedOf(content)) == content);
    return 0;
}
