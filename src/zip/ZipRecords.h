#pragma once

#include <QtCore/QtEndian>

/// Where the fields of the records of a zip archive stand; all numbers are little-endian.
namespace ZipRecords {

constexpr int EndSize = 22; ///< End record without its comment.
constexpr quint32 EndSignature = 0x06054b50;
constexpr int EndTotalEntries = 10;
constexpr int EndDirectorySize = 12;
constexpr int EndDirectoryOffset = 16;
constexpr int EndCommentLength = 20;

constexpr int CentralSize = 46; ///< Central directory record without name, extra field and comment.
constexpr quint32 CentralSignature = 0x02014b50;
constexpr int CentralVersionMadeBy = 4;
constexpr int CentralVersionNeeded = 6;
constexpr int CentralFlags = 8;
constexpr int CentralMethod = 10;
constexpr int CentralDosTime = 12; ///< Time, then date: 16 bits each.
constexpr int CentralCrc = 16;
constexpr int CentralCompressedSize = 20;
constexpr int CentralUncompressedSize = 24;
constexpr int CentralNameLength = 28;
constexpr int CentralExtraLength = 30;
constexpr int CentralCommentLength = 32;
constexpr int CentralExternalAttributes = 38;
constexpr int CentralLocalOffset = 42;

constexpr int LocalSize = 30; ///< Local header without name and extra field.
constexpr quint32 LocalSignature = 0x04034b50;
constexpr int LocalFlags = 6;
constexpr int LocalMethod = 8;
constexpr int LocalCrc = 14;
constexpr int LocalCompressedSize = 18;
constexpr int LocalUncompressedSize = 22;
constexpr int LocalNameLength = 26;
constexpr int LocalExtraLength = 28;

constexpr quint32 Stored = 0;
constexpr quint32 Deflated = 8;

inline quint16 field16(const uchar* record, int offset)
{
    return qFromLittleEndian<quint16>(record + offset);
}

inline quint32 field32(const uchar* record, int offset)
{
    return qFromLittleEndian<quint32>(record + offset);
}

/// The archive reader takes deflated files, and stored ones with two equal sizes.
constexpr bool isAcceptable(quint32 method, quint32 compressedSize, quint32 uncompressedSize)
{
    return method == Deflated || (method == Stored && compressedSize == uncompressedSize);
}

inline bool isAcceptable(const uchar* record)
{
    return isAcceptable(field16(record, CentralMethod), field32(record, CentralCompressedSize),
                        field32(record, CentralUncompressedSize));
}

/// Folders and empty files are not listed.
inline bool isListed(const uchar* record)
{
    const int nameLength = field16(record, CentralNameLength);
    const bool isFolder = nameLength > 0 && record[CentralSize + nameLength - 1] == '/';
    return !isFolder && field32(record, CentralUncompressedSize) != 0;
}

} // namespace ZipRecords
