#include "trust/cDerReader.h"

QByteArray cDerReader::fail()
{
    m_hasFailed = true;
    m_rest.clear();
    return {};
}

QByteArray cDerReader::take(Tag tag)
{
    if (m_rest.size() < 2 || uchar(m_rest[0]) != tag)
        return fail();
    qint64 length = uchar(m_rest[1]);
    int head = 2;
    if (length > 0x7f) {
        // The length follows, in as few bytes as it needs; no key or signature needs more than two.
        const int count = int(length & 0x7f);
        if (count < 1 || count > 2 || m_rest.size() < head + count)
            return fail();
        length = 0;
        for (; head < 2 + count; ++head)
            length = length << 8 | uchar(m_rest[head]);
        if (length < (count == 1 ? 0x80 : 0x100))
            return fail();
    }
    if (m_rest.size() - head < length)
        return fail();
    const QByteArray content = m_rest.mid(head, int(length));
    m_rest.remove(0, head + int(length));
    return content;
}

QByteArray cDerReader::takePositive()
{
    QByteArray number = take(Integer);
    const bool isPadded = number.startsWith('\0');
    if (isPadded)
        number.remove(0, 1);
    if (number.isEmpty() || isPadded != (uchar(number[0]) > 0x7f))
        return fail();
    return number;
}

QByteArray cDerReader::takeBits()
{
    const QByteArray bits = take(BitString);
    return bits.startsWith('\0') ? bits.mid(1) : fail(); // it begins with the number of bits that are unused
}
