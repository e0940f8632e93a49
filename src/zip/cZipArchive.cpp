#include <Norvale/cZipArchive.h>

#include <Norvale/cZipEntry.h>

#include "zip/cZipArchiveData.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>

cZipArchive::cZipArchive() : m_data(new cZipArchiveData) {}

cZipArchive::cZipArchive(QIODevice* device) : cZipArchive()
{
    setArchive(device);
}

cZipArchive::cZipArchive(const QByteArray& bytes) : cZipArchive()
{
    QBuffer* buffer = new QBuffer;
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    m_data->setOwnDevice(buffer);
    parse();
}

cZipArchive::cZipArchive(const QString& path) : cZipArchive()
{
    QFile* file = new QFile(path);
    file->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    m_data->setOwnDevice(file);
    parse();
}

cZipArchive::~cZipArchive()
{
    clear();
}

bool cZipArchive::setArchive(QIODevice* device)
{
    m_data->setDevice(device);
    return parse();
}

bool cZipArchive::setArchive(QByteArray& bytes)
{
    m_data->setOwnDevice(new QBuffer(&bytes)); // left closed, on purpose
    return parse();
}

bool cZipArchive::parse()
{
    return m_data->parse(this);
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
    return m_data->uncompressedSize();
}

void cZipArchive::clear()
{
    m_data->clear();
}
