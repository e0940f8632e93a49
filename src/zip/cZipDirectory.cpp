#include "zip/cZipDirectory.h"

#include "zip/ZipRecords.h"
#include "zip/cZipReader.h"

namespace {

constexpr int LongestComment = 0xffff;
constexpr int LongestRecord = cZipCentralRecord::Size + 0xffff; // with its name, which is all that is kept of it
constexpr qint64 FirstBlock = 16 << 20;                         // read at once at most, whatever size is stated
constexpr qint64 FurtherBlock = 1 << 20;

const uchar* bytesOf(const QByteArray& block)
{
    return reinterpret_cast<const uchar*>(block.constData());
}

/// An end record, and where it stands.
struct End
{
    QByteArray bytes; // empty when there is none
    qint64 position = 0;
};

/// The end record with a comment of at most @p longestComment bytes that ends with the archive.
/// @param last where one without a comment would be.
End findEnd(cZipReader& reader, qint64 last, int longestComment)
{
    const QByteArray tail = reader.bytes(last - longestComment, cZipEndRecord::Size + longestComment);
    if (tail.size() < cZipEndRecord::Size + longestComment)
        return End();
    for (int comment = 0; comment <= longestComment; ++comment) {
        const cZipEndRecord end(bytesOf(tail) + longestComment - comment);
        if (end.hasSignature() && end.commentLength() == comment)
            return {tail.mid(longestComment - comment, cZipEndRecord::Size), last - comment};
    }
    return End();
}

/// The end record is the last one whose comment ends with the archive. It never begins at the archive's first byte.
End findEnd(cZipReader& reader)
{
    const qint64 last = reader.size() - cZipEndRecord::Size;
    const int longest = int(qMin<qint64>(last - 1, LongestComment));
    if (longest < 0)
        return End();
    const End end = findEnd(reader, last, 0); // most archives have no comment
    return end.bytes.isEmpty() ? findEnd(reader, last, longest) : end;
}

/// What the end record itself tells against a package; see cZipDirectory::packageFault().
QString faultOfEnd(cZipReader& reader, const cZipEndRecord& end, qint64 position)
{
    const QByteArray before = reader.bytes(qMax<qint64>(0, position - cZip64Locator::Size), cZip64Locator::Size);
    if (end.pointsToZip64() || (position >= cZip64Locator::Size && cZip64Locator(bytesOf(before)).hasSignature()))
        return QStringLiteral("it is a ZIP64 archive, which is not read: packages are plain archives below 4 GiB with "
                              "fewer than 65535 entries");
    if (!end.isOneDisk())
        return QStringLiteral("it is a part of a multi-disk archive, which is not read");
    return QString();
}

} // namespace

bool cZipRecord::isAcceptable() const
{
    return cZipCentralRecord::isAcceptable(method, compressedSize, uncompressedSize);
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
    const End found = findEnd(reader);
    if (found.bytes.isEmpty())
        return fail(QStringLiteral("there is no end record"));
    const cZipEndRecord end(bytesOf(found.bytes));
    m_packageFault = faultOfEnd(reader, end, found.position);
    m_directoryOffset = end.directoryOffset();
    const int total = end.totalEntries();
    const qint64 directoryEnd = readRecords(reader, total, end.directorySize());
    if (count() < total)
        return fail(QStringLiteral("record %1 of %2 lies outside the archive").arg(count() + 1).arg(total));
    if (m_packageFault.isEmpty() && directoryEnd != found.position)
        m_packageFault =
            QStringLiteral("its end record counts %1 records, which end at byte %2 instead of %3, where it "
                           "stands itself")
                .arg(QString::number(total), QString::number(directoryEnd), QString::number(found.position));
    return true;
}

/// Each record stands behind the one before it. A block is read for as many of them as lie in it; the first block is
/// as large as the directory states to be, so that one will do. @return where the last one ends.
qint64 cZipDirectory::readRecords(cZipReader& reader, int total, quint32 statedSize)
{
    qint64 position = m_directoryOffset;
    qint64 blockSize = qBound<qint64>(LongestRecord, statedSize, FirstBlock);
    while (count() < total) {
        const QByteArray block = reader.bytes(position, blockSize);
        const qint64 used = takeRecords(block, total, block.size() < blockSize);
        if (used == 0)
            break;
        position += used;
        blockSize = FurtherBlock;
    }
    return position;
}

/// Takes the records of a block.
/// @param isLast whether the archive ends with the block, so that a name that is cut off by it counts as it is.
/// @return how far the next record is from the beginning of the block, which may be outside of it.
qint64 cZipDirectory::takeRecords(const QByteArray& block, int total, bool isLast)
{
    constexpr int size = cZipCentralRecord::Size;
    qint64 used = 0;
    m_blocks.append(block);
    m_records.reserve(qMin(total, count() + block.size() / size));
    while (count() < total && used + size <= block.size()) {
        const uchar* bytes = bytesOf(block) + used;
        const cZipCentralRecord record(bytes);
        const int nameSpace = int(block.size() - used) - size;
        if (record.nameLength() > nameSpace && !isLast)
            break;
        m_records.append(record.nameLength() > nameSpace ? cutOff(bytes, nameSpace) : bytes);
        used += record.length();
    }
    return used;
}

/// A copy of a record whose name is cut off by the end of the archive, with the name that is there.
const uchar* cZipDirectory::cutOff(const uchar* record, int nameSpace)
{
    QByteArray copy(reinterpret_cast<const char*>(record), cZipCentralRecord::Size + nameSpace);
    copy[cZipCentralRecord::NameLengthOffset] = char(nameSpace);
    copy[cZipCentralRecord::NameLengthOffset + 1] = char(nameSpace >> 8);
    m_blocks.append(copy);
    return bytesOf(m_blocks.constLast());
}

cZipRecord cZipDirectory::record(int index) const
{
    const cZipCentralRecord record(m_records.at(index));
    cZipRecord result;
    result.name = record.name();
    result.versionMadeBy = record.versionMadeBy();
    result.flags = record.flags();
    result.method = record.method();
    result.crc = record.crc();
    result.compressedSize = record.compressedSize();
    result.uncompressedSize = record.uncompressedSize();
    result.externalAttributes = record.externalAttributes();
    result.localHeaderOffset = record.localHeaderOffset();
    result.hasSignature = record.hasSignature();
    return result;
}

bool cZipDirectory::fail(const QString& reason)
{
    m_error = reason;
    return false;
}
