#include "delta/cSuffixArray.h"

#include <algorithm>

#ifdef NORVALE_DIVSUFSORT
#include <divsufsort.h>

bool cSuffixArray::isAvailable()
{
    return true;
}

bool cSuffixArray::sort(const QByteArray& text)
{
    m_text = text.constData();
    m_size = text.size();
    m_order.resize(size_t(m_size));
    if (m_size == 0)
        return true;
    if (divsufsort(reinterpret_cast<const sauchar_t*>(m_text), m_order.data(), m_size) != 0)
        return false;
    noteFirstBytes();
    return true;
}
#else
bool cSuffixArray::isAvailable()
{
    return false;
}

bool cSuffixArray::sort(const QByteArray&)
{
    return false;
}
#endif

namespace {

constexpr int Pairs = 256 * 256;

int pairAt(const char* bytes)
{
    return uchar(bytes[0]) << 8 | uchar(bytes[1]);
}

} // namespace

void cSuffixArray::noteFirstBytes()
{
    m_first.assign(Pairs + 1, 0);
    for (int place = 0; place + 1 < m_size; ++place)
        ++m_first[size_t(pairAt(m_text + place)) + 1];
    // The last byte alone stands before all that begin with it.
    ++m_first[size_t(uchar(m_text[m_size - 1])) << 8];
    for (size_t pair = 1; pair <= Pairs; ++pair)
        m_first[pair] += m_first[pair - 1];
}

// Two ends that enclose a third have no more in common with the bytes than it has, so that is not compared again.
cSuffixArray::Match cSuffixArray::longest(const char* bytes, int size) const
{
    if (size < 2 || m_size < 2)
        return {};
    int low = m_first[size_t(pairAt(bytes))];
    int high = m_first[size_t(pairAt(bytes)) + 1] - 1;
    if (uchar(bytes[1]) == 0xff && high >= low && m_size - m_order[size_t(high)] < 2)
        --high; // the last byte alone, which stands before the next pair
    if (high < low)
        return {};
    int lowCommon = common(low, bytes, size, 2);
    int highCommon = common(high, bytes, size, 2);
    while (high - low > 1) {
        const int middle = low + (high - low) / 2;
        const int length = common(middle, bytes, size, std::min(lowCommon, highCommon));
        const int place = m_order[size_t(middle)];
        const bool isAbove =
            length == size || (place + length < m_size && uchar(m_text[place + length]) > uchar(bytes[length]));
        (isAbove ? high : low) = middle;
        (isAbove ? highCommon : lowCommon) = length;
    }
    return lowCommon > highCommon ? Match{m_order[size_t(low)], lowCommon} : Match{m_order[size_t(high)], highCommon};
}

int cSuffixArray::common(int index, const char* bytes, int size, int known) const
{
    const char* const text = m_text + m_order[size_t(index)];
    const int most = std::min(size, m_size - m_order[size_t(index)]);
    return int(std::mismatch(text + known, text + most, bytes + known).first - text);
}
