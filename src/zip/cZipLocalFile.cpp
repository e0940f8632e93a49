#include "zip/cZipLocalFile.h"

#include "zip/ZipDevice.h"
#include "zip/ZipRecords.h"

#include <QtCore/QIODevice>

#include <utility>

using namespace ZipRecords;

namespace {

constexpr quint32 FirstRead = 64 << 10; ///< At most; what an archive states elsewhere must not make reads long.

} // namespace

bool cZipLocalFile::read(QIODevice* device, quint32 offset, quint32 sizeHint)
{
    m_dataStart = 0;
    m_bytes.clear();
    if (!ZipDevice::isReadable(device))
        return false;
    m_bytes = ZipDevice::readAt(device, offset, LocalSize + qMin(sizeHint, FirstRead));
    if (m_bytes.size() < LocalSize)
        return false;
    const int start = LocalSize + field16(header(), LocalNameLength) + field16(header(), LocalExtraLength);
    const qint64 rest = qMax<qint64>(0, device->size() - offset);
    const int end = int(qMin<qint64>(qMin<qint64>(start + qint64(compressedSize()), rest), ZipDevice::MaxArray));
    const int done = qMin(m_bytes.size(), end);
    m_bytes.resize(qMax(end, int(LocalSize)));
    if (done < end)
        m_bytes.resize(done + qMax(0, ZipDevice::readAt(device, offset + done, m_bytes.data() + done, end - done)));
    m_dataStart = qMin(start, m_bytes.size());
    return true;
}

bool cZipLocalFile::hasSignature() const
{
    return field32(header(), 0) == LocalSignature;
}

QString cZipLocalFile::name() const
{
    const int length = qMin<int>(field16(header(), LocalNameLength), m_dataStart - LocalSize);
    return QString::fromLatin1(m_bytes.constData() + LocalSize, length);
}

quint16 cZipLocalFile::flags() const
{
    return field16(header(), LocalFlags);
}

quint16 cZipLocalFile::method() const
{
    return field16(header(), LocalMethod);
}

quint32 cZipLocalFile::crc() const
{
    return field32(header(), LocalCrc);
}

quint32 cZipLocalFile::compressedSize() const
{
    return field32(header(), LocalCompressedSize);
}

quint32 cZipLocalFile::uncompressedSize() const
{
    return field32(header(), LocalUncompressedSize);
}

QByteArray cZipLocalFile::takeData()
{
    m_bytes.remove(0, m_dataStart);
    m_dataStart = 0;
    return std::move(m_bytes);
}
