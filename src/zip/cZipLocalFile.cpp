#include "zip/cZipLocalFile.h"

#include "zip/ZipRecords.h"

using namespace ZipRecords;

bool cZipLocalFile::read(cZipReader& reader, quint32 offset, quint32 sizeHint)
{
    constexpr quint32 longestFirst = 32 << 10; // what a central record states must not make reads long
    m_bytes.clear();
    m_data = {nullptr, 0};
    const cZipReader::View view = reader.view(offset, LocalSize + int(qMin(sizeHint, longestFirst)));
    if (view.size < LocalSize)
        return false;
    const uchar* header = reinterpret_cast<const uchar*>(view.data);
    const int start = LocalSize + field16(header, LocalNameLength) + field16(header, LocalExtraLength);
    const quint32 size = field32(header, LocalCompressedSize);
    if (start + qint64(size) <= view.size) {
        m_data = {view.data + start, int(size)};
        return true;
    }
    m_bytes = reader.bytes(qint64(offset) + start, size);
    m_data = {m_bytes.constData(), m_bytes.size()};
    return true;
}

QByteArray cZipLocalFile::takeData()
{
    const QByteArray result = m_bytes.isEmpty() ? QByteArray(m_data.data, m_data.size) : m_bytes;
    m_bytes.clear();
    m_data = {nullptr, 0};
    return result;
}
