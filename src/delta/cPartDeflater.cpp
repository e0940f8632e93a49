#include "delta/cPartDeflater.h"

#include "version/Deflate.h"

#include <zlib.h>

#include <limits>

namespace {

constexpr uInt OutSize = 256 << 10;

} // namespace

bool cPartDeflater::Parameters::areKnown() const
{
    const auto isWithin = [](int least, int number, int most) { return least <= number && number <= most; };
    return isWithin(1, level, Z_BEST_COMPRESSION) && isWithin(1, memoryLevel, 9) &&
           isWithin(Z_DEFAULT_STRATEGY, strategy, Z_FIXED);
}

void cPartDeflater::Free::operator()(z_stream_s* stream) const
{
    deflateEnd(stream);
    delete stream;
}

cPartDeflater::cPartDeflater() : m_out(new char[OutSize]) {}

cPartDeflater::~cPartDeflater() = default;

bool cPartDeflater::begin(const Parameters& parameters)
{
    // A package has many small files, made alike: what zlib has set up for one serves the next.
    if (m_stream && parameters == m_parameters)
        return deflateReset(m_stream.get()) == Z_OK;
    m_stream.reset();
    auto stream = std::make_unique<z_stream>();
    if (deflateInit2(stream.get(), parameters.level, Z_DEFLATED, RawDeflate, parameters.memoryLevel,
                     parameters.strategy) != Z_OK)
        return false;
    m_stream.reset(stream.release());
    m_parameters = parameters;
    return true;
}

bool cPartDeflater::add(const char* content, qint64 count, const Take& take)
{
    while (count > 0) {
        const uInt size = uInt(qMin<qint64>(count, std::numeric_limits<int>::max()));
        m_stream->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content));
        m_stream->avail_in = size;
        if (!deflateAll(Z_NO_FLUSH, take))
            return false;
        content += size;
        count -= size;
    }
    return true;
}

bool cPartDeflater::end(const Take& take)
{
    m_stream->avail_in = 0;
    return deflateAll(Z_FINISH, take);
}

/// Goes on until zlib has no more to give for now.
bool cPartDeflater::deflateAll(int flush, const Take& take)
{
    do {
        m_stream->next_out = reinterpret_cast<Bytef*>(m_out.get());
        m_stream->avail_out = OutSize;
        deflate(m_stream.get(), flush);
        const uInt made = OutSize - m_stream->avail_out;
        if (made > 0 && !take(m_out.get(), made))
            return false;
    } while (m_stream->avail_out == 0);
    return true;
}
