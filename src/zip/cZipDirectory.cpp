#include "zip/cZipDirectory.h"

#include "zip/ZipRecords.h"
#include "zip/cZipReader.h"

#include <cstring>

using namespace ZipRecords;

namespace {

constexpr int LongestComment = 0xffff;
constexpr int LongestRecord = CentralSize + 0xffff; ///< With its name, which is all that is kept of it.
constexpr qint64 FirstBlock = 16 << 20;             ///< Read at once at most, whatever size is stated.
constexpr qint64 FurtherBlock = 1 << 20;

quint16 nameLength(const uchar* record)
{
    return field16(record, CentralNameLength);
}

quint32 recordLength(const uchar* record)
{
    return quint32(CentralSize) + nameLength(record) + field16(record, CentralExtraLength) +
           field16(record, CentralCommentLength);
}

const uchar* bytesOf(const QByteArray& block)
{
    return reinterpret_cast<const uchar*>(block.constData());
}

} // namespace

bool cZipRecord::isAcceptable() const
{
    return ZipRecords::isAcceptable(method, compressedSize, uncompressedSize);
}

QDateTime cZipRecord::modificationTime() const
{
    const quint32 date = dosTime >> 16;
    const QDate day(1980 + int(date >> 9), (date >> 5) & 0xf, date & 0x1f);
    const QTime time((dosTime >> 11) & 0x1f, (dosTime >> 5) & 0x3f, 2 * (dosTime & 0x1f));
    return day.isValid() && time.isValid() ? QDateTime(day, time) : QDateTime();
}

quint32 cZipRecord::unixMode() const
{
    constexpr int unixSystem = 3;
    constexpr int darwinSystem = 19;
    const int system = versionMadeBy >> 8;
    return system == unixSystem || system == darwinSystem ? externalAttributes >> 16 : 0;
}

bool cZipDirectory::read(QIODevice* device)
{
    cZipReader reader(device);
    return read(reader);
}

bool cZipDirectory::read(cZipReader& reader)
{
    *this = cZipDirectory();
    reader.reset();
    if (!reader.isReadable())
        return fail(QStringLiteral("there is no device that is open and can seek"));
    uchar end[EndSize];
    if (!findEnd(reader, end))
        return fail(QStringLiteral("there is no end record"));
    m_directoryOffset = field32(end, EndDirectoryOffset);
    const int total = field16(end, EndTotalEntries);
    if (!readRecords(reader, total, field32(end, EndDirectorySize)))
        return fail(QStringLiteral("record %1 of %2 lies outside the archive").arg(count() + 1).arg(total));
    return true;
}

/// The end record is the last one whose comment ends with the archive. It never begins at the archive's first byte.
bool cZipDirectory::findEnd(cZipReader& reader, uchar* end)
{
    const qint64 last = reader.size() - EndSize;
    const int longest = int(qMin<qint64>(last - 1, LongestComment));
    if (longest < 0)
        return false;
    return findEnd(reader, last, 0, end) || findEnd(reader, last, longest, end); // most archives have no comment
}

bool cZipDirectory::findEnd(cZipReader& reader, qint64 last, int longestComment, uchar* end)
{
    const QByteArray tail = reader.bytes(last - longestComment, EndSize + longestComment);
    if (tail.size() < EndSize + longestComment)
        return false;
    for (int comment = 0; comment <= longestComment; ++comment) {
        const uchar* candidate = bytesOf(tail) + longestComment - comment;
        if (field32(candidate, 0) == EndSignature && field16(candidate, EndCommentLength) == comment) {
            std::memcpy(end, candidate, EndSize);
            return true;
        }
    }
    return false;
}

/// Each record stands behind the one before it. A block is read for as many of them as lie in it; the first block is
/// as large as the directory states to be, so that one will do.
bool cZipDirectory::readRecords(cZipReader& reader, int total, quint32 statedSize)
{
    qint64 position = m_directoryOffset;
    qint64 blockSize = qBound<qint64>(LongestRecord, statedSize, FirstBlock);
    while (count() < total) {
        const QByteArray block = reader.bytes(position, blockSize);
        const qint64 used = takeRecords(block, total, block.size() < blockSize);
        if (used == 0)
            return false;
        position += used;
        blockSize = FurtherBlock;
    }
    return true;
}

/// Takes the records of a block.
/// @param isLast whether the archive ends with the block, so that a name that is cut off by it counts as it is.
/// @return how far the next record is from the beginning of the block, which may be outside of it.
qint64 cZipDirectory::takeRecords(const QByteArray& block, int total, bool isLast)
{
    const uchar* bytes = bytesOf(block);
    qint64 used = 0;
    m_blocks.append(block);
    m_records.reserve(qMin(total, count() + block.size() / CentralSize));
    while (count() < total && used + CentralSize <= block.size()) {
        const uchar* record = bytes + used;
        const int nameSpace = int(block.size() - used) - CentralSize;
        if (nameLength(record) > nameSpace && !isLast)
            break;
        m_records.append(nameLength(record) > nameSpace ? cutOff(record, nameSpace) : record);
        used += recordLength(record);
    }
    return used;
}

/// A copy of a record whose name is cut off by the end of the archive, with the name that is there.
const uchar* cZipDirectory::cutOff(const uchar* record, int nameSpace)
{
    QByteArray copy(reinterpret_cast<const char*>(record), CentralSize + nameSpace);
    copy[CentralNameLength] = char(nameSpace);
    copy[CentralNameLength + 1] = char(nameSpace >> 8);
    m_blocks.append(copy);
    return bytesOf(m_blocks.constLast());
}

cZipRecord cZipDirectory::decode(const uchar* record)
{
    cZipRecord result;
    result.name = QString::fromLatin1(reinterpret_cast<const char*>(record) + CentralSize, nameLength(record));
    result.versionMadeBy = field16(record, CentralVersionMadeBy);
    result.versionNeeded = field16(record, CentralVersionNeeded);
    result.flags = field16(record, CentralFlags);
    result.method = field16(record, CentralMethod);
    result.dosTime = field32(record, CentralDosTime);
    result.crc = field32(record, CentralCrc);
    result.compressedSize = field32(record, CentralCompressedSize);
    result.uncompressedSize = field32(record, CentralUncompressedSize);
    result.externalAttributes = field32(record, CentralExternalAttributes);
    result.localHeaderOffset = field32(record, CentralLocalOffset);
    result.recordLength = recordLength(record);
    result.hasSignature = field32(record, 0) == CentralSignature;
    return result;
}

bool cZipDirectory::fail(const QString& reason)
{
    m_error = reason;
    return false;
}
