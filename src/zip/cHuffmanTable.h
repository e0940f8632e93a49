#pragma once

#include <QtCore/QtGlobal>

/// Decodes the codes of a deflate stream by table. An entry says how many bits to take, and what they mean; codes that
/// are longer than the table's root go on in a further table.
class cHuffmanTable
{
public:
    enum Entry : quint32 {
        DropMask = 0x3f, ///< Bits to take: the code, and the extra bits behind it.
        Special = 0x40,  ///< A further table, the end of a block, or no code.
        Literal = 0x80,  ///< The value is a byte.
        LengthShift = 8, ///< Bits of the code alone; of a further table, the bits that choose in it.
        LengthMask = 0xf,
        ValueShift = 16, ///< The byte, the base of a length or distance, or the place of a further table.
        EndOfBlock = Special | (1 << ValueShift)
    };

    static constexpr int LongestCode = 15;
    static constexpr int MaxSymbols = 288;

    /// Builds the table of codes with @p lengths (0: no code) for the symbols that @p symbols describes: entries
    /// without code lengths. It takes complete codes only, and with @p mayBeSingle also one code of one bit, or none.
    /// @return false when the lengths are not such a code.
    bool build(const uchar* lengths, int count, const quint32* symbols, int rootBits, bool mayBeSingle);

    /// The entry for the next bits, which may be Special.
    quint32 root(quint64 bits) const { return m_entries[bits & m_rootMask]; }
    /// The entry of a further table, when the code of @p entry has been taken from the bits.
    quint32 further(quint32 entry, quint64 bits) const
    {
        return m_entries[(entry >> ValueShift) + (bits & ((1u << ((entry >> LengthShift) & LengthMask)) - 1))];
    }
    static bool isFurther(quint32 entry) { return (entry & Special) && (entry >> ValueShift) > 1; }

private:
    bool isUsable(const int* counts, bool mayBeSingle) const;
    void place(quint32 symbol, uint code, int length);

    // Of a complete code at least two codes lie in each further table, and a further table has at most 2^5 or 2^7
    // entries (roots of 10 bits for lengths and 8 for distances).
    static constexpr int LargestRoot = 1 << 10;
    static constexpr int MaxEntries = LargestRoot + MaxSymbols / 2 * 32;

    quint32 m_entries[MaxEntries];
    quint32 m_rootMask = 0;
    int m_rootBits = 0;
    int m_furtherBits = 0;
    int m_end = 0; ///< Of the entries in use.
};
