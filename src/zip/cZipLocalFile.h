#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QIODevice;

/// A file where it lies in the archive: its local header, and its data as they are stored.
class cZipLocalFile
{
public:
    /// Reads header and data of the file at @p offset of @p device.
    /// @param sizeHint what name, extra field and data probably take together, so that one read can do.
    /// @return false when there is no local header of 30 bytes. Data that the end of the archive cuts off are a
    /// success.
    bool read(QIODevice* device, quint32 offset, quint32 sizeHint = 0);

    bool hasSignature() const; ///< The archive reader does not ask for it.
    QString name() const;      ///< Each byte one Latin-1 character.
    quint16 flags() const;
    quint16 method() const;
    quint32 crc() const;
    quint32 compressedSize() const; ///< As the header states it.
    quint32 uncompressedSize() const;

    /// The data where they are; valid as long as this object is neither read again, taken from nor destroyed.
    const char* data() const { return m_bytes.constData() + m_dataStart; }
    int dataSize() const { return m_bytes.size() - m_dataStart; }
    /// Hands out the data; this object is empty afterwards.
    QByteArray takeData();
    /// Whether the archive ends before the data do.
    bool isCutOff() const { return quint32(dataSize()) < compressedSize(); }

private:
    const uchar* header() const { return reinterpret_cast<const uchar*>(m_bytes.constData()); }

    QByteArray m_bytes; ///< Header, name, extra field and data; the header's 30 bytes are always there.
    int m_dataStart = 0;
};
