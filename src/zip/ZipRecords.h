#pragma once

#include <QtCore/QString>
#include <QtCore/QtEndian>

/// A record of a zip archive, where it lies in memory. All numbers are little-endian.
class cZipBytes
{
protected:
    explicit cZipBytes(const uchar* bytes) : m_bytes(bytes) {}

    template <typename Number>
    Number field(int offset) const
    {
        return qFromLittleEndian<Number>(m_bytes + offset);
    }
    /// Each byte is one Latin-1 character.
    QLatin1String text(int offset, int length) const
    {
        return QLatin1String(reinterpret_cast<const char*>(m_bytes) + offset, length);
    }

private:
    const uchar* m_bytes;
};

class cZipEndRecord : public cZipBytes
{
public:
    static constexpr int Size = 22; // without its comment

    explicit cZipEndRecord(const uchar* bytes) : cZipBytes(bytes) {}

    bool hasSignature() const { return field<quint32>(0) == 0x06054b50; }
    quint16 diskNumber() const { return field<quint16>(4); }
    quint16 directoryDisk() const { return field<quint16>(6); }
    quint16 entriesOnDisk() const { return field<quint16>(8); }
    quint16 totalEntries() const { return field<quint16>(10); }
    quint32 directorySize() const { return field<quint32>(12); }
    quint32 directoryOffset() const { return field<quint32>(16); }
    quint16 commentLength() const { return field<quint16>(20); }

    /// Whether a number is too large for its field, and stands in ZIP64 records instead.
    bool pointsToZip64() const
    {
        return entriesOnDisk() == 0xffff || totalEntries() == 0xffff || directorySize() == 0xffffffff ||
               directoryOffset() == 0xffffffff;
    }
    bool isOneDisk() const { return diskNumber() == 0 && directoryDisk() == 0 && entriesOnDisk() == totalEntries(); }
};

/// Stands before the end record, and tells where the one of ZIP64 is.
class cZip64Locator : public cZipBytes
{
public:
    static constexpr int Size = 20;

    explicit cZip64Locator(const uchar* bytes) : cZipBytes(bytes) {}

    bool hasSignature() const { return field<quint32>(0) == 0x07064b50; }
};

/// What the two headers of a file have in common: the local one before its data, and its record in the central
/// directory. Both have these fields in the same order.
class cZipHeader : public cZipBytes
{
public:
    enum Method { Stored = 0, Deflated = 8 };

    quint16 flags() const { return field<quint16>(m_first); }
    quint16 method() const { return field<quint16>(m_first + 2); }
    quint32 crc() const { return field<quint32>(m_first + 8); }
    quint32 compressedSize() const { return field<quint32>(m_first + 12); }
    quint32 uncompressedSize() const { return field<quint32>(m_first + 16); }
    quint16 nameLength() const { return field<quint16>(m_first + 20); }
    quint16 extraLength() const { return field<quint16>(m_first + 22); }

protected:
    /// @param first where the first of these fields is.
    cZipHeader(const uchar* bytes, int first) : cZipBytes(bytes), m_first(first) {}

private:
    int m_first;
};

class cZipLocalHeader : public cZipHeader
{
public:
    static constexpr int Size = 30; // without name and extra field

    explicit cZipLocalHeader(const uchar* bytes) : cZipHeader(bytes, 6) {}

    bool hasSignature() const { return field<quint32>(0) == 0x04034b50; }
    /// The name, which must lie in memory too.
    QLatin1String name() const { return text(Size, nameLength()); }
    /// Where the data begin behind the beginning of the header.
    int dataOffset() const { return Size + nameLength() + extraLength(); }
};

/// Stands behind the data of a file whose local header was written before its sizes were known (data descriptor). The
/// signature may be left out.
class cZipDescriptor : public cZipBytes
{
public:
    static constexpr int LeastSize = 12; // without signature

    /// @param bytes where the data end; @p size of them lie in memory, at least `LeastSize`.
    cZipDescriptor(const uchar* bytes, qint64 size)
        : cZipBytes(bytes), m_first(size >= Signature + LeastSize && hasSignature() ? Signature : 0)
    {
    }

    int size() const { return m_first + LeastSize; }
    quint32 crc() const { return field<quint32>(m_first); }
    quint32 compressedSize() const { return field<quint32>(m_first + 4); }
    quint32 uncompressedSize() const { return field<quint32>(m_first + 8); }

private:
    static constexpr int Signature = 4;
    bool hasSignature() const { return field<quint32>(0) == 0x08074b50; }

    int m_first;
};

class cZipCentralRecord : public cZipHeader
{
public:
    static constexpr int Size = 46; // without name, extra field and comment
    static constexpr int NameLengthOffset = 28;

    explicit cZipCentralRecord(const uchar* bytes) : cZipHeader(bytes, 8) {}

    bool hasSignature() const { return field<quint32>(0) == 0x02014b50; }
    quint16 versionMadeBy() const { return field<quint16>(4); }
    quint32 externalAttributes() const { return field<quint32>(38); }
    quint32 localHeaderOffset() const { return field<quint32>(42); }
    /// The name, which must lie in memory too.
    QLatin1String name() const { return text(Size, nameLength()); }
    /// The length of the record with its name, extra field and comment.
    quint32 length() const { return quint32(Size) + nameLength() + extraLength() + field<quint16>(32); }

    bool isAcceptable() const { return isAcceptable(method(), compressedSize(), uncompressedSize()); }
    /// The archive reader takes deflated files, and stored ones with two equal sizes.
    static bool isAcceptable(quint32 method, quint32 compressedSize, quint32 uncompressedSize)
    {
        return method == Deflated || (method == Stored && compressedSize == uncompressedSize);
    }
    /// Folders and empty files are not listed.
    bool isListed() const { return uncompressedSize() != 0 && !isFolder(); }
    bool isFolder() const { return name().endsWith(QLatin1Char('/')); }
};
