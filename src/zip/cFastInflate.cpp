#include "zip/cFastInflate.h"

#include <array>
#include <cstring>
#include <memory>

namespace {

using Table = cHuffmanTable;

constexpr int LiteralCount = 288;
constexpr int DistanceCount = 32;
constexpr int LengthCount = 19; ///< Symbols of the code that code lengths are written in.
constexpr int LiteralRoot = 10;
constexpr int DistanceRoot = 8;
constexpr int MaxLiterals = 286; ///< That a dynamic block may have codes for; the others have no meaning.
constexpr int MaxDistances = 30;
constexpr int EndOfBlock = 256;

constexpr quint32 described(int base, int extraBits)
{
    return (quint32(base) << Table::ValueShift) | quint32(extraBits);
}

/// Literals, the end of a block, and the lengths of matches; the last two mean nothing.
constexpr std::array<quint32, LiteralCount> literalSymbols()
{
    std::array<quint32, LiteralCount> symbols{};
    for (int i = 0; i < EndOfBlock; ++i)
        symbols[size_t(i)] = described(i, 0) | Table::Literal;
    symbols[EndOfBlock] = Table::EndOfBlock;
    int base = 3;
    for (int i = 0; i < 28; ++i) {
        const int extraBits = i < 8 ? 0 : i / 4 - 1;
        symbols[size_t(257 + i)] = described(base, extraBits);
        base += 1 << extraBits;
    }
    symbols[285] = described(258, 0);
    symbols[286] = symbols[287] = Table::Special;
    return symbols;
}

constexpr std::array<quint32, DistanceCount> distanceSymbols()
{
    std::array<quint32, DistanceCount> symbols{};
    int base = 1;
    for (int i = 0; i < MaxDistances; ++i) {
        const int extraBits = i < 4 ? 0 : i / 2 - 1;
        symbols[size_t(i)] = described(base, extraBits);
        base += 1 << extraBits;
    }
    symbols[30] = symbols[31] = Table::Special;
    return symbols;
}

/// The symbols of the code that a dynamic block's code lengths are written in.
constexpr std::array<quint32, LengthCount> lengthSymbols()
{
    std::array<quint32, LengthCount> symbols{};
    for (int i = 0; i < LengthCount; ++i)
        symbols[size_t(i)] = described(i, 0);
    return symbols;
}

constexpr std::array<quint32, LiteralCount> literals = literalSymbols();
constexpr std::array<quint32, DistanceCount> distances = distanceSymbols();
constexpr std::array<quint32, LengthCount> codeLengths = lengthSymbols();

struct Codes
{
    cHuffmanTable literals;
    cHuffmanTable distances;
};

std::unique_ptr<const Codes> makeFixedCodes()
{
    auto codes = std::make_unique<Codes>();
    uchar lengths[LiteralCount];
    std::memset(lengths, 8, 144);
    std::memset(lengths + 144, 9, 112);
    std::memset(lengths + 256, 7, 24);
    std::memset(lengths + 280, 8, 8);
    codes->literals.build(lengths, LiteralCount, literals.data(), LiteralRoot, false);
    std::memset(lengths, 5, DistanceCount);
    codes->distances.build(lengths, DistanceCount, distances.data(), DistanceRoot, false);
    return codes;
}

/// The value of an entry, with the extra bits behind its code.
uint valueOf(quint32 entry, quint64 bits)
{
    const int length = (entry >> Table::LengthShift) & Table::LengthMask;
    const quint64 all = bits & ((quint64(1) << (entry & Table::DropMask)) - 1);
    return (entry >> Table::ValueShift) + uint(all >> length);
}

/// Copies a match; what it overlaps of itself repeats. It may write up to 7 bytes more.
void copyMatch(uchar* to, uint distance, uint length)
{
    const uchar* from = to - distance;
    uchar* const end = to + length;
    if (distance < 8) {
        while (to < end)
            *to++ = *from++;
        return;
    }
    while (to < end) {
        std::memcpy(to, from, 8);
        to += 8;
        from += 8;
    }
}

} // namespace

bool cFastInflate::inflate(const char* in, int inSize, int most, QByteArray* out)
{
    *out = QByteArray(most + Slack, Qt::Uninitialized);
    uchar* begin = reinterpret_cast<uchar*>(out->data());
    cFastInflate inflate(reinterpret_cast<const uchar*>(in), inSize, begin, most);
    if (!inflate.run())
        return false;
    out->resize(int(inflate.m_next - begin));
    return true;
}

cFastInflate::cFastInflate(const uchar* in, int inSize, uchar* out, int most)
    : m_reader(in, in + inSize), m_begin(out), m_next(out), m_end(out + most)
{
}

bool cFastInflate::run()
{
    bool isLast = false;
    while (!isLast) {
        m_reader.refill();
        isLast = m_reader.take(1) != 0;
        if (!readBlock(m_reader.take(2)) || m_next > m_end || m_reader.isOverrun())
            return false;
    }
    return true;
}

bool cFastInflate::readBlock(uint type)
{
    switch (type) {
    case 0:
        return readStored();
    case 1:
        return readFixed();
    case 2:
        return readDynamic();
    default:
        return false;
    }
}

/// Bytes as they are, from the next whole byte on, behind their number and its complement.
bool cFastInflate::readStored()
{
    const uchar* header = m_reader.alignToByte();
    if (!header || m_reader.bytesLeft() < 4)
        return false;
    const int size = qFromLittleEndian<quint16>(header);
    if (size != (qFromLittleEndian<quint16>(header + 2) ^ 0xffff))
        return false;
    if (m_reader.bytesLeft() - 4 < size || m_end - m_next < size)
        return false;
    std::memcpy(m_next, header + 4, size_t(size));
    m_next += size;
    m_reader.skipBytes(4 + size);
    return true;
}

bool cFastInflate::readFixed()
{
    static const std::unique_ptr<const Codes> codes = makeFixedCodes();
    return readSymbols(codes->literals, codes->distances);
}

bool cFastInflate::readDynamic()
{
    static const uchar order[LengthCount] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    const int literalCount = int(m_reader.take(5)) + 257;
    const int distanceCount = int(m_reader.take(5)) + 1;
    const int lengthCount = int(m_reader.take(4)) + 4;
    if (literalCount > MaxLiterals || distanceCount > MaxDistances)
        return false;
    uchar lengths[MaxLiterals + MaxDistances] = {};
    for (int i = 0; i < lengthCount; ++i) {
        m_reader.refill();
        lengths[order[i]] = uchar(m_reader.take(3));
    }
    Codes codes;
    if (!codes.literals.build(lengths, LengthCount, codeLengths.data(), 7, false) ||
        !readCodeLengths(codes.literals, lengths, literalCount + distanceCount) || lengths[EndOfBlock] == 0)
        return false;
    return codes.literals.build(lengths, literalCount, literals.data(), LiteralRoot, false) &&
           codes.distances.build(lengths + literalCount, distanceCount, distances.data(), DistanceRoot, true) &&
           readSymbols(codes.literals, codes.distances);
}

/// Code lengths are themselves coded: 0 to 15 stand for themselves, 16 repeats the one before, 17 and 18 repeat 0.
bool cFastInflate::readCodeLengths(const cHuffmanTable& codes, uchar* lengths, int count)
{
    int done = 0;
    while (done < count) {
        m_reader.refill();
        const quint32 entry = codes.root(m_reader.bits());
        m_reader.drop(entry & Table::DropMask);
        const uint symbol = entry >> Table::ValueShift;
        if (symbol < 16) {
            lengths[done++] = uchar(symbol);
            continue;
        }
        if (symbol == 16 && done == 0)
            return false;
        const uchar value = symbol == 16 ? lengths[done - 1] : 0;
        const int repeat = readRepeat(symbol);
        if (repeat > count - done)
            return false;
        std::memset(lengths + done, value, size_t(repeat));
        done += repeat;
    }
    return true;
}

int cFastInflate::readRepeat(uint symbol)
{
    if (symbol == 16)
        return 3 + int(m_reader.take(2));
    return symbol == 17 ? 3 + int(m_reader.take(3)) : 11 + int(m_reader.take(7));
}

/// Literals and matches up to the end of the block. The reader and the place of the output are local, so that they stay
/// in registers.
bool cFastInflate::readSymbols(const cHuffmanTable& literals, const cHuffmanTable& distances)
{
    cBitReader reader = m_reader;
    uchar* next = m_next;
    while (next <= m_end && !reader.isOverrun()) {
        reader.refill();
        quint32 entry = literals.root(reader.bits());
        // Up to two literals of the root leave enough bits for a length.
        for (int i = 0; i < 2 && (entry & Table::Literal); ++i) {
            reader.drop(entry & Table::DropMask);
            *next++ = uchar(entry >> Table::ValueShift);
            entry = literals.root(reader.bits());
        }
        if (Table::isFurther(entry)) {
            reader.drop(entry & Table::DropMask);
            entry = literals.further(entry, reader.bits());
        }
        if (entry & Table::Literal) {
            reader.drop(entry & Table::DropMask);
            *next++ = uchar(entry >> Table::ValueShift);
            continue;
        }
        if (entry & Table::Special) {
            reader.drop(entry & Table::DropMask);
            m_reader = reader;
            m_next = next;
            return (entry & ~quint32(Table::DropMask | (Table::LengthMask << Table::LengthShift))) == Table::EndOfBlock;
        }
        const uint length = valueOf(entry, reader.bits());
        reader.drop(entry & Table::DropMask);

        reader.refill();
        entry = distances.root(reader.bits());
        if (Table::isFurther(entry)) {
            reader.drop(entry & Table::DropMask);
            entry = distances.further(entry, reader.bits());
        }
        const uint distance = valueOf(entry, reader.bits());
        reader.drop(entry & Table::DropMask);
        if ((entry & Table::Special) || distance > uint(next - m_begin))
            return false;
        copyMatch(next, distance, length);
        next += length;
    }
    return false;
}
