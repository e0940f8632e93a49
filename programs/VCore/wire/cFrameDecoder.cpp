#include "wire/cFrameDecoder.h"

#include <QtCore/QtEndian>

namespace {

constexpr int LengthBytes = 4;

} // namespace

cFrameDecoder::cFrameDecoder(qint32 maxPayload) : m_maxPayload(maxPayload) {}

void cFrameDecoder::append(const QByteArray& bytes)
{
    if (!hasFailed())
        m_bytes.append(bytes);
}

bool cFrameDecoder::next(QByteArray* payload)
{
    if (hasFailed() || pendingBytes() < LengthBytes) {
        forgetTaken();
        return false;
    }
    const qint32 length = qFromLittleEndian<qint32>(m_bytes.constData() + m_taken);
    if (length < 0 || length > m_maxPayload) {
        fail(length);
        return false;
    }
    if (pendingBytes() - LengthBytes < length) {
        forgetTaken();
        return false;
    }
    *payload = m_bytes.mid(m_taken + LengthBytes, length);
    m_taken += LengthBytes + length;
    return true;
}

void cFrameDecoder::fail(qint32 length)
{
    m_error = length < 0 ? QStringLiteral("a frame has the negative length %1").arg(length)
                         : QStringLiteral("a frame of %1 bytes is over the limit of %2").arg(length).arg(m_maxPayload);
    m_bytes = QByteArray();
    m_taken = 0;
}

// Only when no whole frame is left, so that each byte is moved once at most.
void cFrameDecoder::forgetTaken()
{
    if (m_taken == 0)
        return;
    m_bytes = m_bytes.mid(m_taken);
    m_taken = 0;
}
