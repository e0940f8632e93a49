#pragma once

#include "zip/cZipReader.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// A file where it lies in the archive: its local header, and its data as they are stored.
class cZipLocalFile
{
public:
    /// Reads header and data of the file at @p offset of @p device, which is open and can seek.
    /// @return false when there is no local header of 30 bytes. Data that the end of the archive cuts off are a
    /// success.
    bool read(QIODevice* device, quint32 offset);

    /// As above.
    /// @param reader must outlive this object; what it reads afterwards makes data() invalid.
    /// @param sizeHint what name, extra field and data probably take together, so that one read can do.
    bool read(cZipReader& reader, quint32 offset, quint32 sizeHint);

    bool hasSignature() const; ///< The archive reader does not ask for it.
    QString name() const;      ///< Each byte one Latin-1 character.
    quint16 flags() const;
    quint16 method() const;
    quint32 crc() const;
    quint32 compressedSize() const; ///< As the header states it.
    quint32 uncompressedSize() const;

    /// The data where they are; valid as long as this object is neither read again, taken from nor destroyed.
    const char* data() const { return m_data.data; }
    int dataSize() const { return m_data.size; }
    /// Hands out the data; this object has none afterwards.
    QByteArray takeData();
    /// Whether the archive ends before the data do.
    bool isCutOff() const { return quint32(m_data.size) < compressedSize(); }

private:
    static constexpr int HeaderSize = 30;

    cZipReader m_ownReader;
    cZipReader* m_reader = nullptr;
    quint32 m_offset = 0;
    uchar m_header[HeaderSize] = {};
    cZipReader::View m_data = {nullptr, 0};
    QByteArray m_bytes; ///< The data when they are not in the reader's memory.
};
