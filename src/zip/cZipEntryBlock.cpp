#include "zip/cZipEntryBlock.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include "zip/cZipArchiveData.h"

#include <new>

cZipEntryBlock::cZipEntryBlock(cZipArchive* archive) : m_archive(archive) {}

cZipEntryBlock::cZipEntryBlock(cZipArchive* archive, const QVector<QByteArray>& memory,
                               const QVector<const uchar*>& records)
    : m_archive(archive), m_memory(memory), m_records(records)
{
}

cZipEntryBlock::~cZipEntryBlock()
{
    if (!m_entries)
        return;
    for (int i = 0; i < m_records.size(); ++i)
        m_entries[i].cZipEntry::~cZipEntry();
    ::operator delete(m_entries);
}

QIODevice* cZipEntryBlock::device() const
{
    return m_archive ? m_archive->m_data->device : nullptr;
}

void cZipEntryBlock::makeEntries()
{
    m_entries = static_cast<cZipEntry*>(::operator new(size_t(m_records.size()) * sizeof(cZipEntry)));
    for (int i = 0; i < m_records.size(); ++i)
        new (m_entries + i) cZipEntry(this, m_records.at(i));
}

QSharedPointer<cZipEntry> cZipEntryBlock::entry(const QSharedPointer<cZipEntryBlock>& block, int index)
{
    if (!block->m_entries)
        block->makeEntries();
    return QtSharedPointer::copyAndSetPointer(block->m_entries + index, block);
}
