#include "version/FlatMap.h"

#include <QtCore/QRandomGenerator>

#include <cstring>

namespace {

__extension__ using Wide = unsigned __int128;

constexpr int PrimeBits = 61;
constexpr quint64 Prime = (quint64(1) << PrimeBits) - 1; // a Mersenne prime, so the rest is had by adding

/// Where the polynomials of this process are evaluated.
quint64 drawnPoint()
{
    static const quint64 point = QRandomGenerator::system()->generate64() % (Prime - 1) + 1;
    return point;
}

quint64 step(quint64 hash, quint64 point, quint64 coefficient)
{
    const Wide sum = Wide(hash) * point + coefficient;
    const quint64 rest = quint64(sum & Prime) + quint64(sum >> PrimeBits);
    return rest < Prime ? rest : rest - Prime;
}

quint64 valueOf(QStringView text, quint64 point)
{
    constexpr qsizetype UnitsAtOnce = 3; // 48 bits, fewer than the prime has
    const char16_t* unit = text.utf16();
    quint64 hash = quint64(text.size());
    qsizetype left = text.size();
    for (; left >= UnitsAtOnce; left -= UnitsAtOnce, unit += UnitsAtOnce)
        hash = step(hash, point, quint64(unit[0]) << 32 | quint64(unit[1]) << 16 | unit[2]);
    for (; left > 0; --left, ++unit)
        hash = step(hash, point, *unit);
    return hash;
}

template <typename Word>
quint64 wordAt(const char* bytes)
{
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

quint64 valueOf(QLatin1String text, quint64 point)
{
    constexpr int BytesAtOnce = 6; // 48 bits
    const char* byte = text.data();
    quint64 hash = quint64(text.size());
    auto left = text.size();
    for (; left >= BytesAtOnce; left -= BytesAtOnce, byte += BytesAtOnce)
        hash = step(hash, point, wordAt<quint32>(byte) << 16 | wordAt<quint16>(byte + 4));
    quint64 rest = 0;
    for (; left >= 2; left -= 2, byte += 2)
        rest = rest << 16 | wordAt<quint16>(byte);
    if (left > 0)
        rest = rest << 8 | uchar(*byte);
    return step(hash, point, rest);
}

/// The tables take the lowest bits, in which the values of texts that differ in their last letters lie side by side:
/// the last step of SplitMix64 lets each bit depend on all of them. No two values become one.
std::size_t spread(quint64 value)
{
    value = (value ^ value >> 30) * 0xbf58476d1ce4e5b9U;
    value = (value ^ value >> 27) * 0x94d049bb133111ebU;
    return value ^ value >> 31;
}

} // namespace

std::size_t cSeededHash::operator()(QStringView text) const
{
    return spread(valueOf(text, drawnPoint()));
}

std::size_t cSeededHash::operator()(QLatin1String text) const
{
    return spread(valueOf(text, drawnPoint()));
}

std::size_t cSeededHash::ofId(std::size_t ofName, const cVersion& version)
{
    const quint64 point = drawnPoint();
    quint64 value = ofName & Prime;
    for (const qint32 component : {version.major(), version.minor(), version.build()})
        value = step(value, point, quint32(component));
    return spread(value);
}
