#include "zip/cZipArchiveData.h"

#include <Norvale/cZipEntry.h>

#include "zip/cZipDirectory.h"
#include "zip/cZipEntryBlock.h"

#include <QtCore/QIODevice>

void cZipArchiveData::setDevice(QIODevice* device)
{
    clear();
    m_reader = cZipReader(device);
}

void cZipArchiveData::setOwnDevice(QIODevice* device)
{
    clear();
    m_reader = cZipReader(device, cZipReader::Own);
    m_ownsDevice = true;
}

void cZipArchiveData::clear()
{
    if (m_ownsDevice)
        delete m_reader.device();
    m_ownsDevice = false;
    m_reader = cZipReader();
    m_uncompressedSize = 0;
    m_entries.clear();
    m_listedBlocks = 0;
    m_wasListed = false;
    m_index.reset();
    m_blocks.clear();
}

bool cZipArchiveData::parse(cZipArchive* archive)
{
    cZipDirectory directory;
    const bool isComplete = directory.read(m_reader);
    const auto block = QSharedPointer<cZipEntryBlock>::create(archive, directory);
    if (block->count() > 0) {
        m_uncompressedSize += block->uncompressedSize();
        m_blocks.append(block);
        m_index.reset();
    }
    return isComplete && block->isComplete();
}

QList<QSharedPointer<cZipEntry>> cZipArchiveData::entries() const
{
    // The first list is the caller's alone, so that a loop over it does not copy it; further calls share one.
    if (!m_wasListed) {
        m_wasListed = true;
        QList<QSharedPointer<cZipEntry>> list;
        for (const QSharedPointer<cZipEntryBlock>& block : m_blocks)
            cZipEntryBlock::list(block, list);
        return list;
    }
    while (m_listedBlocks < m_blocks.size())
        cZipEntryBlock::list(m_blocks.at(m_listedBlocks++), m_entries);
    return m_entries;
}

QSharedPointer<cZipEntry> cZipArchiveData::entry(const QString& name) const
{
    if (!m_index)
        m_index.reset(new cZipNameIndex(m_blocks));
    return m_index->find(name);
}
