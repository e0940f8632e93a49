#include "updates/cTransferRate.h"

void cTransferRate::note(qint64 bytes, qint64 time)
{
    if (!m_samples.isEmpty() && bytes < m_samples.last().bytes)
        clear(); // another transfer
    const bool isClose = m_samples.size() > 1 && time - m_samples.at(m_samples.size() - 2).time < Spacing;
    if (isClose)
        m_samples.last() = {bytes, time};
    else
        m_samples.enqueue({bytes, time});
    while (m_samples.size() > 2 && time - m_samples.at(1).time >= Window)
        m_samples.dequeue();
}

qint64 cTransferRate::bytesPerSecond() const
{
    if (m_samples.isEmpty())
        return 0;
    const qint64 took = m_samples.last().time - m_samples.first().time;
    return took < Shortest ? 0 : (m_samples.last().bytes - m_samples.first().bytes) * 1000 / took;
}
