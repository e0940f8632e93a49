#include "zip/cZipArchiveData.h"

#include <Norvale/cZipEntry.h>

#include "zip/ZipRecords.h"
#include "zip/cZipEntryBlock.h"

#include <QtCore/QIODevice>

void cZipArchiveData::append(const QSharedPointer<cZipEntryBlock>& block)
{
    if (block->records().isEmpty())
        return;
    m_blocks.append(block);
    m_names.append(block->records());
    for (const uchar* record : block->records())
        uncompressedSize += ZipRecords::field32(record, ZipRecords::CentralUncompressedSize);
}

void cZipArchiveData::clear()
{
    if (ownsDevice)
        delete device;
    ownsDevice = false;
    device = nullptr;
    delete bytes;
    bytes = nullptr;
    uncompressedSize = 0;
    m_entries.clear();
    m_listedBlocks = 0;
    m_names.clear();
    m_blocks.clear();
}

const QList<QSharedPointer<cZipEntry>>& cZipArchiveData::entries() const
{
    for (; m_listedBlocks < m_blocks.size(); ++m_listedBlocks) {
        const QSharedPointer<cZipEntryBlock>& block = m_blocks.at(m_listedBlocks);
        m_entries.reserve(m_entries.size() + block->records().size());
        for (int i = 0; i < block->records().size(); ++i)
            m_entries.append(cZipEntryBlock::entry(block, i));
    }
    return m_entries;
}

QSharedPointer<cZipEntry> cZipArchiveData::entry(const QString& name) const
{
    int place = m_names.find(name);
    if (place < 0)
        return QSharedPointer<cZipEntry>();
    int block = 0;
    while (place >= m_blocks.at(block)->records().size())
        place -= m_blocks.at(block++)->records().size();
    return cZipEntryBlock::entry(m_blocks.at(block), place);
}
