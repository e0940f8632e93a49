#include "zip/cInflater.h"

#include "zip/cFastInflate.h"

#include <utility>

#include <zlib.h>

namespace {

constexpr int RawDeflate = -15;           ///< Window bits of a stream without a header.
constexpr qint64 LargestFirst = 64 << 20; ///< A larger buffer is made only when so much has come out.
constexpr qint64 MostPerByte = 1032;      ///< Deflate's largest repetition, 258 bytes, takes two bits.

/// Goes on with the stream in what @p out has left behind @p done bytes.
int inflateInto(z_stream& stream, QByteArray& out, int done)
{
    stream.next_out = reinterpret_cast<Bytef*>(out.data()) + done;
    stream.avail_out = uInt(out.size() - done);
    return inflate(&stream, Z_FINISH);
}

cInflater::Status statusOf(int answer, const z_stream& stream)
{
    if (answer == Z_STREAM_END)
        return cInflater::Complete;
    if (answer != Z_BUF_ERROR)
        return cInflater::Damaged;
    return stream.avail_in == 0 ? cInflater::CutOff : cInflater::BufferFull;
}

} // namespace

cInflater::Status cInflater::run(qint64 bufferSize)
{
    if (!cFastInflate::inflate(m_in, m_inSize, firstSize(bufferSize), &m_out))
        return runZlib(bufferSize);
    m_produced = m_out.size();
    return Complete;
}

/// What is damaged, and how, is for zlib to say.
cInflater::Status cInflater::runZlib(qint64 bufferSize)
{
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(m_in));
    stream.avail_in = uInt(m_inSize);
    m_produced = 0;
    if (inflateInit2(&stream, RawDeflate) != Z_OK)
        return Damaged;
    m_out = QByteArray(firstSize(bufferSize), Qt::Uninitialized);
    int answer = inflateInto(stream, m_out, 0);
    while (answer == Z_BUF_ERROR && stream.avail_out == 0 && m_out.size() < bufferSize) {
        const int done = m_out.size();
        m_out.resize(int(qMin(2 * qint64(done), bufferSize)));
        answer = inflateInto(stream, m_out, done);
    }
    m_produced = m_out.size() - int(stream.avail_out);
    const Status status = statusOf(answer, stream);
    inflateEnd(&stream);
    return status;
}

/// The size that is asked for comes from the archive. What the input can inflate to at most bounds it.
int cInflater::firstSize(qint64 bufferSize) const
{
    const qint64 most = (m_inSize + 1) * MostPerByte;
    return int(qMin(qMin(bufferSize, LargestFirst), most));
}

QByteArray cInflater::takeResult()
{
    m_out.resize(m_produced);
    if (m_out.capacity() - m_produced > m_produced / 4)
        m_out.squeeze();
    return std::move(m_out);
}
