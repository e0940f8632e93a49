#include "zip/cZipLocalFile.h"

#include "zip/ZipRecords.h"

#include <cstring>

using namespace ZipRecords;

namespace {

constexpr quint32 FirstRead = 32 << 10; ///< At most; what an archive states elsewhere must not make reads long.

} // namespace

bool cZipLocalFile::read(QIODevice* device, quint32 offset)
{
    m_ownReader = cZipReader(device);
    return read(m_ownReader, offset, FirstRead);
}

bool cZipLocalFile::read(cZipReader& reader, quint32 offset, quint32 sizeHint)
{
    m_bytes.clear();
    m_data = {nullptr, 0};
    const cZipReader::View view = reader.view(offset, LocalSize + int(qMin(sizeHint, FirstRead)));
    if (view.size < LocalSize)
        return false;
    m_reader = &reader;
    m_offset = offset;
    std::memcpy(m_header, view.data, LocalSize);
    const int start = LocalSize + field16(m_header, LocalNameLength) + field16(m_header, LocalExtraLength);
    if (qint64(start) + compressedSize() <= view.size) {
        m_data = {view.data + start, int(compressedSize())};
    } else {
        m_bytes = reader.bytes(qint64(offset) + start, compressedSize());
        m_data = {m_bytes.constData(), m_bytes.size()};
    }
    return true;
}

bool cZipLocalFile::hasSignature() const
{
    return field32(m_header, 0) == LocalSignature;
}

QString cZipLocalFile::name() const
{
    if (!m_reader)
        return QString();
    const QByteArray name = m_reader->bytes(qint64(m_offset) + LocalSize, field16(m_header, LocalNameLength));
    return QString::fromLatin1(name.constData(), name.size());
}

quint16 cZipLocalFile::flags() const
{
    return field16(m_header, LocalFlags);
}

quint16 cZipLocalFile::method() const
{
    return field16(m_header, LocalMethod);
}

quint32 cZipLocalFile::crc() const
{
    return field32(m_header, LocalCrc);
}

quint32 cZipLocalFile::compressedSize() const
{
    return field32(m_header, LocalCompressedSize);
}

quint32 cZipLocalFile::uncompressedSize() const
{
    return field32(m_header, LocalUncompressedSize);
}

QByteArray cZipLocalFile::takeData()
{
    const QByteArray result = m_bytes.isEmpty() ? QByteArray(m_data.data, m_data.size) : m_bytes;
    m_bytes.clear();
    m_data = {nullptr, 0};
    return result;
}
