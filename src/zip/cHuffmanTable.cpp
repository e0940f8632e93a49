#include "zip/cHuffmanTable.h"

#include <algorithm>

namespace {

/// The code with its bits in the order in which they come.
uint reversed(uint code, int length)
{
    code = ((code & 0x5555) << 1) | ((code >> 1) & 0x5555);
    code = ((code & 0x3333) << 2) | ((code >> 2) & 0x3333);
    code = ((code & 0x0f0f) << 4) | ((code >> 4) & 0x0f0f);
    code = ((code & 0x00ff) << 8) | (code >> 8);
    return code >> (16 - length);
}

} // namespace

bool cHuffmanTable::build(const uchar* lengths, int count, const quint32* symbols, int rootBits, bool mayBeSingle)
{
    int counts[LongestCode + 1] = {};
    for (int i = 0; i < count; ++i)
        ++counts[lengths[i]];
    counts[0] = 0;
    if (!isUsable(counts, mayBeSingle))
        return false;
    int longest = LongestCode;
    while (longest > 1 && counts[longest] == 0)
        --longest;
    m_rootBits = std::min(rootBits, longest);
    m_furtherBits = longest - m_rootBits;
    m_end = 1 << m_rootBits;
    m_rootMask = quint32(m_end - 1);
    std::fill_n(m_entries, m_end, quint32(Special));

    uint next[LongestCode + 1] = {};
    for (int length = 1; length < LongestCode; ++length)
        next[length + 1] = (next[length] + uint(counts[length])) << 1;
    for (int i = 0; i < count; ++i) {
        if (lengths[i] != 0)
            place(symbols[i], reversed(next[lengths[i]]++, lengths[i]), lengths[i]);
    }
    return true;
}

/// Whether the codes use up all combinations of bits, and none twice.
bool cHuffmanTable::isUsable(const int* counts, bool mayBeSingle) const
{
    int left = 1;
    int codes = 0;
    for (int length = 1; length <= LongestCode; ++length) {
        left = 2 * left - counts[length];
        codes += counts[length];
        if (left < 0)
            return false;
    }
    return left == 0 || (mayBeSingle && codes == counts[1] && codes <= 1);
}

void cHuffmanTable::place(quint32 symbol, uint code, int length)
{
    if (length <= m_rootBits) {
        const quint32 entry = symbol + quint32(length) + (quint32(length) << LengthShift);
        for (uint i = code; i <= m_rootMask; i += 1u << length)
            m_entries[i] = entry;
        return;
    }
    quint32& root = m_entries[code & m_rootMask];
    if (root == Special) {
        root = Special | quint32(m_rootBits) | (quint32(m_furtherBits) << LengthShift) | (quint32(m_end) << ValueShift);
        m_end += 1 << m_furtherBits;
    }
    const int rest = length - m_rootBits;
    const quint32 entry = symbol + quint32(rest) + (quint32(rest) << LengthShift);
    for (uint i = code >> m_rootBits; i < 1u << m_furtherBits; i += 1u << rest)
        m_entries[(root >> ValueShift) + i] = entry;
}
