#include <Norvale/cZipEntry.h>

#include "zip/Inflate.h"
#include "zip/ZipRecords.h"
#include "zip/cZipEntryBlock.h"
#include "zip/cZipLocalFile.h"

using namespace ZipRecords;

namespace {

const uchar emptyRecord[CentralSize] = {};

/// What stands before the data in the local header is about as long as in the central record.
bool readLocalFile(cZipLocalFile& file, cZipReader* reader, const uchar* record)
{
    constexpr quint32 furtherExtra = 64;
    const quint64 hint = quint64(field16(record, CentralNameLength)) + field16(record, CentralExtraLength) +
                         furtherExtra + field32(record, CentralCompressedSize);
    return reader && file.read(*reader, field32(record, CentralLocalOffset), quint32(qMin<quint64>(hint, 0xffffffff)));
}

} // namespace

cZipEntry::cZipEntry(cZipArchive* archive) : m_block(new cZipEntryBlock(archive)), m_record(emptyRecord) {}

cZipEntry::cZipEntry(cZipEntryBlock* block, const uchar* record) : m_block(block), m_record(record) {}

cZipEntry::~cZipEntry()
{
    if (m_record == emptyRecord)
        delete m_block;
}

QString cZipEntry::name() const
{
    return QString::fromLatin1(reinterpret_cast<const char*>(m_record) + CentralSize,
                               field16(m_record, CentralNameLength));
}

int cZipEntry::compressedSize() const
{
    return int(field32(m_record, CentralCompressedSize));
}

int cZipEntry::uncompressedSize() const
{
    return int(field32(m_record, CentralUncompressedSize));
}

QByteArray cZipEntry::compressedContent() const
{
    cZipLocalFile file;
    return readLocalFile(file, m_block->reader(), m_record) ? file.takeData() : QByteArray();
}

// The method is not consulted: callers of stored files use compressedContent().
QByteArray cZipEntry::content() const
{
    cZipLocalFile file;
    if (!readLocalFile(file, m_block->reader(), m_record))
        return QByteArray();
    return Inflate::inflateEntry(file.data(), file.size(), field32(m_record, CentralUncompressedSize));
}
