#include "zip/cInflater.h"

#include "version/Deflate.h"
#include "version/Shown.h"
#include "zip/cZipReader.h"

#include <QtCore/QString>

#include <zlib.h>

#if defined(NORVALE_HAS_LIBDEFLATE)
#include <libdeflate.h>
#endif

namespace {

constexpr qint64 LargestFirst = 64 << 20; // a larger buffer is made only when so much has come out

enum class StreamEnd { Complete, Damaged, CutOff, BufferFull };

/// The first buffer for a size that the archive states. What the input can inflate to at most bounds it.
int firstSize(const QByteArray& in, qint64 stated)
{
    const qint64 most = (in.size() + 1) * MostPerByte;
    return int(qMin(qMin(stated, LargestFirst), most));
}

/// Goes on with the stream in what @p out has left behind @p done bytes.
int inflateInto(z_stream& stream, QByteArray& out, int done)
{
    stream.next_out = reinterpret_cast<Bytef*>(out.data()) + done;
    stream.avail_out = uInt(out.size() - done);
    return inflate(&stream, Z_FINISH);
}

StreamEnd endOf(int answer, const z_stream& stream)
{
    if (answer == Z_STREAM_END)
        return StreamEnd::Complete;
    if (answer != Z_BUF_ERROR)
        return StreamEnd::Damaged;
    return stream.avail_in == 0 ? StreamEnd::CutOff : StreamEnd::BufferFull;
}

/// Cuts the buffer to what was produced. It keeps some spare memory, but not much.
void trim(QByteArray& out, int produced)
{
    out.resize(produced);
    if (out.capacity() - produced > produced / 4)
        out.squeeze();
}

/// Inflates from the beginning, as zlib does with a buffer of @p bufferSize bytes, at least 1. The memory for it is
/// made as it fills. @p out receives what was inflated, also before a failure.
StreamEnd inflateWithZlib(const QByteArray& in, qint64 bufferSize, QByteArray& out)
{
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.constData()));
    stream.avail_in = uInt(in.size());
    out.clear();
    if (inflateInit2(&stream, RawDeflate) != Z_OK)
        return StreamEnd::Damaged;
    out = QByteArray(firstSize(in, bufferSize), Qt::Uninitialized);
    int answer = inflateInto(stream, out, 0);
    while (answer == Z_BUF_ERROR && stream.avail_out == 0 && out.size() < bufferSize) {
        const int done = out.size();
        out.resize(int(qMin(2 * qint64(done), bufferSize)));
        answer = inflateInto(stream, out, done);
    }
    const StreamEnd end = endOf(answer, stream);
    inflateEnd(&stream);
    trim(out, out.size() - int(stream.avail_out));
    return end;
}

bool fail(QString* error, const QString& reason)
{
    if (error)
        *error = reason;
    return false;
}

} // namespace

bool cInflater::inflate(const QByteArray& in, qint64 limit, Stated stated, QByteArray* out, QString* error)
{
    const qint64 held = qBound(qint64(0), limit, qint64(cZipReader::MaxArray));
    if (stated.size <= held && inflateStated(in, stated, out))
        return true;
    // One byte more than allowed tells a stream that is too large from one that is cut off.
    const StreamEnd end = inflateWithZlib(in, held + 1, *out);
    const bool isTooLarge = out->size() > held;
    if (end == StreamEnd::Complete && !isTooLarge)
        return true;
    out->clear();
    if (isTooLarge)
        return fail(error, QStringLiteral("the data inflate to more than %1").arg(counted(held, "byte")));
    return fail(error, end == StreamEnd::CutOff ? QStringLiteral("the deflated data are cut off")
                                                : QStringLiteral("the deflated data are damaged"));
}

QByteArray cInflater::inflateEntry(const QByteArray& in, Stated stated)
{
    QByteArray out;
    if (inflateStated(in, stated, &out))
        return out;
    for (qint64 bufferSize = qMax<qint64>(stated.size, 1);; bufferSize *= 2) {
        const StreamEnd end = inflateWithZlib(in, qMin<qint64>(bufferSize, cZipReader::MaxArray), out);
        if (end == StreamEnd::Complete)
            return out;
        if (end != StreamEnd::BufferFull || bufferSize >= cZipReader::MaxArray)
            return QByteArray();
    }
}

#if defined(NORVALE_HAS_LIBDEFLATE)

namespace {
constexpr int Room = 320; // behind what comes out: where less is left, libdeflate is slow
constexpr int SmallFile = 16 << 10;
} // namespace

void cInflater::Free::operator()(libdeflate_decompressor* decompressor) const
{
    libdeflate_free_decompressor(decompressor);
}

/// Inflates with libdeflate. @return whether exactly the stated bytes came out; only then @p out is of use.
bool cInflater::inflateStated(const QByteArray& in, Stated stated, QByteArray* out)
{
    if (stated.size == 0 || firstSize(in, stated.size) < qint64(stated.size))
        return false;
    if (!m_decompressor)
        m_decompressor.reset(libdeflate_alloc_decompressor());
    if (!m_decompressor)
        return false;
    // A small file comes out where the last one did, which the processor has at hand, and is copied without the room.
    const bool isSmall = stated.size <= SmallFile;
    QByteArray& buffer = isSmall ? m_small : *out;
    buffer.resize(isSmall ? SmallFile + Room : int(stated.size) + Room);
    size_t produced = 0;
    const libdeflate_result result = libdeflate_deflate_decompress(
        m_decompressor.get(), in.constData(), size_t(in.size()), buffer.data(), stated.size + Room, &produced);
    if (result != LIBDEFLATE_SUCCESS || produced != stated.size ||
        libdeflate_crc32(0, buffer.constData(), produced) != stated.crc)
        return false;
    if (isSmall)
        *out = QByteArray(buffer.constData(), int(produced));
    else
        out->resize(int(produced));
    return true;
}

#else

void cInflater::Free::operator()(libdeflate_decompressor*) const {}

bool cInflater::inflateStated(const QByteArray&, Stated, QByteArray*)
{
    return false;
}

#endif
