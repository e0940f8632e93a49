#pragma once

#include <QtCore/QtEndian>

/// Takes bits from bytes, the lowest bit of a byte first, as deflate streams are read. Behind the end of the bytes come
/// zeros without end; whether any of them was taken tells isOverrun().
class cBitReader
{
public:
    cBitReader(const uchar* begin, const uchar* end) : m_next(begin), m_end(end) {}

    /// Makes at least 56 bits available.
    void refill()
    {
        if (m_end - m_next < 8) {
            refillAtEnd();
            return;
        }
        // What is beyond the whole bytes that fit comes again with the next refill, at the same place.
        m_bits |= qFromLittleEndian<quint64>(m_next) << m_count;
        m_next += (63 - m_count) >> 3;
        m_count |= 56;
    }

    /// The lowest bits; those that are looked at must be available.
    quint64 bits() const { return m_bits; }
    uint peek(int count) const { return uint(m_bits & ((quint64(1) << count) - 1)); }
    void drop(int count)
    {
        m_bits >>= count;
        m_count -= count;
    }
    uint take(int count)
    {
        const uint value = peek(count);
        drop(count);
        return value;
    }

    /// Goes on at the next whole byte. @return where it is; null when bits behind the end have been taken.
    const uchar* alignToByte()
    {
        const int unread = m_count / 8 - m_missing;
        m_next -= unread;
        m_bits = 0;
        m_count = 0;
        m_missing = 0;
        return unread < 0 ? nullptr : m_next;
    }
    int bytesLeft() const { return int(m_end - m_next); }
    void skipBytes(int count) { m_next += count; }

    bool isOverrun() const { return m_missing * 8 > m_count; }

private:
    void refillAtEnd()
    {
        for (; m_count < 56; m_count += 8) {
            if (m_next < m_end)
                m_bits |= quint64(*m_next++) << m_count;
            else
                ++m_missing;
        }
    }

    const uchar* m_next;
    const uchar* m_end;
    quint64 m_bits = 0;
    int m_count = 0;   ///< Of available bits, at most 63.
    int m_missing = 0; ///< Bytes behind the end among them and among those taken.
};
