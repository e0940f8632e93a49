#pragma once

#include <QtCore/QByteArray>

/// Inflates a raw deflate stream that lies in memory, which must outlive this object.
class cInflater
{
public:
    cInflater(const char* in, int size) : m_in(in), m_inSize(size) {}

    enum Status { Complete, Damaged, CutOff, BufferFull };

    /// Inflates from the beginning into a buffer of @p bufferSize bytes, at least 1. The memory for it is made as it
    /// fills.
    Status run(qint64 bufferSize);

    /// How many bytes the last run inflated, also before it failed.
    int produced() const { return m_produced; }
    /// Hands out what the last run inflated.
    QByteArray takeResult();

private:
    int firstSize(qint64 bufferSize) const;
    Status runZlib(qint64 bufferSize);

    const char* m_in;
    int m_inSize;
    QByteArray m_out;
    int m_produced = 0;
};
