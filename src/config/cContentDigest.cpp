#include "config/cContentDigest.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

cContentDigest::cContentDigest(bool hasSha256)
{
    if (hasSha256)
        m_sha256.emplace(Cryptography::cDigest::Sha256);
}

void cContentDigest::add(const char* bytes, qint64 size)
{
    m_sha1.addData(QByteArray::fromRawData(bytes, int(size)));
    if (m_sha256)
        m_sha256->add(bytes, size);
    m_length += size;
}

bool cContentDigest::addFile(const QString& path)
{
    // Opening a pipe could wait for ever.
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    for (QByteArray bytes = file.read(ReadStep); !bytes.isEmpty(); bytes = file.read(ReadStep))
        add(bytes.constData(), bytes.size());
    return file.error() == QFile::NoError;
}

cDigestedWriting::cDigestedWriting(QIODevice& device, cContentDigest& digest) : m_device(device), m_digest(digest)
{
    open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

qint64 cDigestedWriting::writeData(const char* bytes, qint64 size)
{
    const qint64 written = m_device.write(bytes, size);
    if (written > 0)
        m_digest.add(bytes, written);
    if (written != size)
        setErrorString(m_device.errorString());
    return written;
}
