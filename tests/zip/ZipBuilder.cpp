#include "ZipBuilder.h"

#include <QtCore/QList>
#include <QtCore/QtEndian>

#include <zlib.h>

namespace {

class Record
{
public:
    Record& u16(qint64 value) { return number<quint16>(value); }
    Record& u32(qint64 value) { return number<quint32>(value); }
    Record& bytes(const QByteArray& value)
    {
        result += value;
        return *this;
    }

    QByteArray result;

private:
    template <typename Number>
    Record& number(qint64 value)
    {
        const Number little = qToLittleEndian(Number(value));
        result.append(reinterpret_cast<const char*>(&little), sizeof little);
        return *this;
    }
};

qint64 given(qint64 value, qint64 otherwise)
{
    return value < 0 ? otherwise : value;
}

const QByteArray localExtra("\x99\x99\x02\x00xy", 6);
const QByteArray centralExtra("\x99\x99\x01\x00z", 5);

} // namespace

ZipFile deflated(const QByteArray& name, const QByteArray& content)
{
    ZipFile file{name, deflate(content), quint32(content.size())};
    file.crc = quint32(crc32(0, reinterpret_cast<const Bytef*>(content.constData()), uInt(content.size())));
    return file;
}

ZipFile stored(const QByteArray& name, const QByteArray& content)
{
    return {name, content, quint32(content.size()), 0};
}

QByteArray deflate(const QByteArray& content)
{
    const QByteArray zlib = qCompress(content); // behind its length and two bytes of header, before a checksum
    return zlib.mid(6, zlib.size() - 10);
}

QByteArray buildZip(const QList<ZipFile>& files, const ZipEnd& end)
{
    Record out;
    Record directory;
    for (const ZipFile& file : files) {
        const qint64 offset = given(file.localOffset, out.result.size());
        const qint64 nameLength = given(file.nameLength, file.name.size());
        out.u32(0x04034b50).u16(20).u16(0).u16(file.method).u32(0).u32(file.crc);
        out.u32(given(file.localSize, file.data.size()))
            .u32(file.uncompressedSize)
            .u16(file.name.size())
            .u16(localExtra.size());
        out.bytes(file.name).bytes(localExtra).bytes(file.data);
        directory.u32(file.signature).u16(20).u16(20).u16(0).u16(file.method).u32(0x526e7931).u32(file.crc);
        directory.u32(given(file.centralSize, file.data.size())).u32(file.uncompressedSize).u16(nameLength);
        directory.u16(centralExtra.size()).u16(3).u16(0).u16(0).u32(0).u32(offset);
        directory.bytes(file.name).bytes(centralExtra).bytes("why");
    }
    const qint64 directoryOffset = given(end.directoryOffset, out.result.size());
    const qint64 total = given(end.total, files.size());
    out.bytes(directory.result).u32(0x06054b50).u16(0).u16(0).u16(total).u16(total).u32(directory.result.size());
    out.u32(directoryOffset).u16(given(end.commentLength, end.comment.size())).bytes(end.comment);
    return out.result;
}
