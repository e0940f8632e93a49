#include <Norvale/cZipArchive.h>

#include <Norvale/cZipEntry.h>

#include "zip/ZipRecords.h"
#include "zip/cZipArchiveData.h"
#include "zip/cZipDirectory.h"
#include "zip/cZipEntryBlock.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>

#include <algorithm>

cZipArchive::cZipArchive() : m_data(new cZipArchiveData) {}

cZipArchive::cZipArchive(QIODevice* device) : cZipArchive()
{
    m_data->device = device;
    parse();
}

cZipArchive::cZipArchive(const QByteArray& bytes) : cZipArchive()
{
    m_data->bytes = new QByteArray(bytes);
    m_data->device = new QBuffer(m_data->bytes);
    m_data->ownsDevice = true;
    m_data->device->open(QIODevice::ReadOnly);
    parse();
}

cZipArchive::cZipArchive(const QString& path) : cZipArchive()
{
    m_data->device = new QFile(path);
    m_data->ownsDevice = true;
    m_data->device->open(QIODevice::ReadOnly);
    parse();
}

cZipArchive::~cZipArchive()
{
    clear();
}

bool cZipArchive::setArchive(QIODevice* device)
{
    clear();
    m_data->device = device;
    return parse();
}

bool cZipArchive::setArchive(QByteArray& bytes)
{
    clear();
    m_data->device = new QBuffer(&bytes); // left closed, on purpose
    m_data->ownsDevice = true;
    return parse();
}

bool cZipArchive::parse()
{
    cZipDirectory directory;
    const bool isComplete = directory.read(m_data->device);
    const QVector<const uchar*>& records = directory.rawRecords();
    const auto end = std::find_if_not(records.cbegin(), records.cend(), ZipRecords::isAcceptable);
    QVector<const uchar*> listed;
    listed.reserve(int(end - records.cbegin()));
    std::copy_if(records.cbegin(), end, std::back_inserter(listed), ZipRecords::isListed);
    m_data->append(QSharedPointer<cZipEntryBlock>::create(this, directory.blocks(), listed));
    return isComplete && end == records.cend();
}

QList<QSharedPointer<cZipEntry>> cZipArchive::entries() const
{
    return m_data->entries();
}

QSharedPointer<cZipEntry> cZipArchive::entry(const QString& name) const
{
    return m_data->entry(name);
}

qint64 cZipArchive::uncompressedSize() const
{
    return m_data->uncompressedSize;
}

void cZipArchive::clear()
{
    m_data->clear();
}
