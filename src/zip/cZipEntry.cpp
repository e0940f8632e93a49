#include <Norvale/cZipEntry.h>

#include <Norvale/cZipArchive.h>

#include "zip/ZipRecords.h"
#include "zip/cZipArchiveData.h"
#include "zip/cZipDirectory.h"

#include <new>

namespace {

const uchar emptyRecord[cZipCentralRecord::Size] = {};

/// The data of a file as they lie in the archive, behind its local header, which states how many there are. Those that
/// the end of the archive cuts off are missing. The result may be a view into memory of the reader, which is valid
/// until it reads again.
QByteArray packedData(cZipArchiveData* archive, cZipCentralRecord record)
{
    // What stands before the data in the local header is about as long as in the central record, so that one read can
    // do. What the record states must not make that read long.
    constexpr quint64 furtherExtra = 64;
    constexpr quint64 longestFirst = 32 << 10;
    if (!archive)
        return QByteArray();
    const quint64 hint = furtherExtra + record.nameLength() + record.extraLength() + record.compressedSize();
    const qint64 offset = record.localHeaderOffset();
    const cZipReader::View view = archive->reader.view(offset, cZipLocalHeader::Size + int(qMin(hint, longestFirst)));
    if (view.size < cZipLocalHeader::Size)
        return QByteArray();
    const cZipLocalHeader header(reinterpret_cast<const uchar*>(view.data));
    const int start = header.dataOffset();
    const quint32 size = header.compressedSize();
    if (start + qint64(size) <= view.size)
        return QByteArray::fromRawData(view.data + start, int(size));
    return archive->reader.bytes(offset + start, size);
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
    return cZipCentralRecord(m_record).name();
}

int cZipEntry::compressedSize() const
{
    return int(cZipCentralRecord(m_record).compressedSize());
}

int cZipEntry::uncompressedSize() const
{
    return int(cZipCentralRecord(m_record).uncompressedSize());
}

QByteArray cZipEntry::compressedContent() const
{
    QByteArray data = packedData(m_block->archive(), cZipCentralRecord(m_record));
    if (!data.isEmpty())
        data.detach(); // copies a view
    return data;
}

// The method is not consulted: callers of stored files use compressedContent().
QByteArray cZipEntry::content() const
{
    cZipArchiveData* archive = m_block->archive();
    const cZipCentralRecord record(m_record);
    const QByteArray data = packedData(archive, record);
    if (data.isEmpty())
        return QByteArray();
    return archive->inflater.inflateEntry(data, {record.uncompressedSize(), record.crc()});
}

cZipEntryBlock::cZipEntryBlock(cZipArchive* archive) : m_archive(archive) {}

cZipEntryBlock::cZipEntryBlock(cZipArchive* archive, const cZipDirectory& directory)
    : m_archive(archive)
    , m_memory(directory.blocks())
    , m_entries(static_cast<cZipEntry*>(::operator new(size_t(directory.count()) * sizeof(cZipEntry))))
{
    for (const uchar* bytes : directory.rawRecords()) {
        const cZipCentralRecord record(bytes);
        if (!record.isAcceptable()) {
            m_isComplete = false;
            return;
        }
        if (!record.isListed())
            continue;
        new (m_entries + m_count) cZipEntry(this, bytes);
        ++m_count;
        m_uncompressedSize += record.uncompressedSize();
    }
}

// The entries in here own nothing, so that they need not be destroyed one by one.
cZipEntryBlock::~cZipEntryBlock()
{
    ::operator delete(m_entries);
}

QLatin1String cZipEntryBlock::name(int index) const
{
    return cZipCentralRecord(m_entries[index].m_record).name();
}

cZipArchiveData* cZipEntryBlock::archive() const
{
    return m_archive ? m_archive->m_data.data() : nullptr;
}

QSharedPointer<cZipEntry> cZipEntryBlock::entry(const QSharedPointer<cZipEntryBlock>& block, int index)
{
    return QtSharedPointer::copyAndSetPointer(block->m_entries + index, block);
}

void cZipEntryBlock::list(const QSharedPointer<cZipEntryBlock>& block, QList<QSharedPointer<cZipEntry>>& entries)
{
    const QSharedPointer<cZipEntry> place;
    entries.reserve(entries.size() + block->count());
    for (int i = 0; i < block->count(); ++i) {
        QSharedPointer<cZipEntry> one = entry(block, i);
        entries.append(place); // appending the entry itself would count it twice over
        entries.last().swap(one);
    }
}
