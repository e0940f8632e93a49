#include "delta/cPatchWriter.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QtEndian>

#ifdef NORVALE_LIBDEFLATE
#include <libdeflate.h>

#include <memory>
#else
#include <zlib.h>
#endif

namespace {

constexpr char Signature[] = "NORVPAT1";

#ifdef NORVALE_LIBDEFLATE
/// As a zlib stream; shorter by a tenth than zlib makes it.
QByteArray compressed(const QByteArray& bytes)
{
    struct Free
    {
        void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
    };
    constexpr int BestCompression = 12;
    const std::unique_ptr<libdeflate_compressor, Free> compressor(libdeflate_alloc_compressor(BestCompression));
    if (!compressor)
        return QByteArray();
    const auto size = size_t(bytes.size());
    QByteArray made(int(libdeflate_zlib_compress_bound(compressor.get(), size)), Qt::Uninitialized);
    made.truncate(
        int(libdeflate_zlib_compress(compressor.get(), bytes.constData(), size, made.data(), size_t(made.size()))));
    return made;
}
#else
QByteArray compressed(const QByteArray& bytes)
{
    uLongf size = compressBound(uLong(bytes.size()));
    QByteArray made(int(size), Qt::Uninitialized);
    const auto from = reinterpret_cast<const Bytef*>(bytes.constData());
    const bool isMade =
        compress2(reinterpret_cast<Bytef*>(made.data()), &size, from, uLong(bytes.size()), Z_BEST_COMPRESSION) == Z_OK;
    made.truncate(isMade ? int(size) : 0);
    return made;
}
#endif

/// 0, -1, 1, -2 ... as 0, 1, 2, 3 ...
quint64 zigzag(qint64 number)
{
    return quint64(number) << 1 ^ quint64(number >> 63);
}

} // namespace

void cPatchWriter::number(quint64 number)
{
    for (; number > 0x7f; number >>= 7)
        m_control.append(char(number | 0x80));
    m_control.append(char(number));
}

void cPatchWriter::oldFile(const QString& path, const QByteArray& content)
{
    const QByteArray text = path.toUtf8();
    number(quint64(text.size()));
    m_control += text;
    number(quint64(content.size()));
    m_control += QCryptographicHash::hash(content, QCryptographicHash::Sha1);
}

void cPatchWriter::parts(const std::vector<cPackageParts::Part>& parts)
{
    number(parts.size());
    for (const cPackageParts::Part& part : parts) {
        number(part.parameters ? 1 : 0);
        if (part.parameters) {
            for (const int value : {part.parameters->level, part.parameters->memoryLevel, part.parameters->strategy})
                number(quint64(value));
        }
        number(quint64(part.size));
    }
}

QByteArray cPatchWriter::finish(const cDifference& difference)
{
    for (const cDifference::Instruction& instruction : difference.instructions()) {
        number(quint64(instruction.add));
        number(quint64(instruction.copy));
        number(zigzag(instruction.skip));
    }
    const QByteArray streams[] = {compressed(m_control), compressed(difference.differences()),
                                  compressed(difference.extra())};
    QByteArray patch(Signature);
    for (const QByteArray& stream : streams) {
        char length[sizeof(quint64)];
        qToLittleEndian(quint64(stream.size()), length);
        patch.append(length, sizeof length);
    }
    for (const QByteArray& stream : streams)
        patch += stream;
    return patch;
}
