#pragma once

#include <QtCore/QByteArray>

/**
 * Reads DER, in which keys and signatures stand, one element after another. The first fault sticks: from then on
 * everything is empty, so that a reader need ask only once, at the end. A value.
 */
class cDerReader
{
public:
    enum Tag : uchar {
        Integer = 0x02,
        BitString = 0x03,
        OctetString = 0x04,
        Null = 0x05,
        ObjectId = 0x06,
        Sequence = 0x30
    };

    explicit cDerReader(const QByteArray& bytes) : m_rest(bytes) {}

    /// The content of the next element, which must be of @p tag; empty, too, when it is not.
    QByteArray take(Tag tag);
    /// What stands in the next element, a sequence.
    cDerReader takeSequence() { return cDerReader(take(Sequence)); }
    /// The next element, an integer above zero, big-endian without a leading zero.
    QByteArray takePositive();
    /// The whole bytes of the next element, a bit string.
    QByteArray takeBits();

    /// Whether all has been read, without a fault.
    bool isDone() const { return !m_hasFailed && m_rest.isEmpty(); }
    /// Whether there is more.
    bool hasMore() const { return !m_hasFailed && !m_rest.isEmpty(); }

private:
    QByteArray fail();

    QByteArray m_rest;
    bool m_hasFailed = false;
};
