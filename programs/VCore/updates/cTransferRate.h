#pragma once

#include <QtCore/QQueue>

/// How fast bytes arrive, by those of the last seconds: a stall shows soon, a single burst not at all.
class cTransferRate
{
public:
    /// Notes that @p bytes have arrived in all at @p time (milliseconds since any fixed moment, never going back).
    void note(qint64 bytes, qint64 time);

    /// Bytes in a second; 0 as long as too little is known.
    qint64 bytesPerSecond() const;

    void clear() { m_samples.clear(); }

private:
    static constexpr qint64 Window = 3000;  ///< milliseconds that are looked back
    static constexpr qint64 Spacing = 100;  ///< milliseconds between two samples, so that few are kept
    static constexpr qint64 Shortest = 300; ///< milliseconds below which a rate would be a guess

    struct Sample
    {
        qint64 bytes;
        qint64 time;
    };

    QQueue<Sample> m_samples; ///< oldest first; the last one is always the newest that was noted
};
