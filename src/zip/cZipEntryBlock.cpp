#include "zip/cZipEntryBlock.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include "zip/ZipRecords.h"
#include "zip/cZipArchiveData.h"
#include "zip/cZipDirectory.h"

#include <new>

using namespace ZipRecords;

cZipEntryBlock::cZipEntryBlock(cZipArchive* archive) : m_archive(archive) {}

cZipEntryBlock::cZipEntryBlock(cZipArchive* archive, const cZipDirectory& directory)
    : m_archive(archive)
    , m_memory(directory.blocks())
    , m_entries(static_cast<cZipEntry*>(::operator new(size_t(directory.count()) * sizeof(cZipEntry))))
{
    for (const uchar* record : directory.rawRecords()) {
        if (!isAcceptable(record)) {
            m_isComplete = false;
            return;
        }
        if (!isListed(record))
            continue;
        new (m_entries + m_count) cZipEntry(this, record);
        ++m_count;
        m_uncompressedSize += field32(record, CentralUncompressedSize);
    }
}

// The entries in here own nothing, so that they need not be destroyed one by one.
cZipEntryBlock::~cZipEntryBlock()
{
    ::operator delete(m_entries);
}

const uchar* cZipEntryBlock::record(int index) const
{
    return m_entries[index].m_record;
}

cZipReader* cZipEntryBlock::reader() const
{
    return m_archive ? &m_archive->m_data->reader() : nullptr;
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
