#pragma once

#include "zip/cZipReader.h"

#include <QtCore/QByteArray>

/// The data of a file where it lies in the archive, behind its local header.
class cZipLocalFile
{
public:
    /// Reads header and data of the file at @p offset. The header states how many data there are; those that the end of
    /// the archive cuts off are missing.
    /// @param reader must outlive this object; what it reads afterwards makes data() invalid.
    /// @param sizeHint what name, extra field and data probably take together, so that one read can do.
    /// @return false when there is no local header of 30 bytes.
    bool read(cZipReader& reader, quint32 offset, quint32 sizeHint);

    const char* data() const { return m_data.data; }
    int size() const { return m_data.size; }

    /// Hands out the data; this object has none afterwards.
    QByteArray takeData();

private:
    cZipReader::View m_data = {nullptr, 0};
    QByteArray m_bytes; ///< The data when they are not in the reader's memory.
};
