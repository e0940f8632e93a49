#include "zip/cZipReader.h"

#include <QtCore/QIODevice>

namespace {

constexpr int SmallestWindow = 16 << 10;
constexpr int LargestWindow = 256 << 10;

} // namespace

cZipReader::cZipReader(QIODevice* device, Use use) : m_device(device), m_use(use) {}

bool cZipReader::isReadable() const
{
    return m_device && m_device->isReadable() && !m_device->isSequential();
}

qint64 cZipReader::size()
{
    if (m_size < 0 || m_use == Shared)
        m_size = isReadable() ? m_device->size() : 0;
    return m_size;
}

void cZipReader::reset()
{
    m_window.clear();
    m_size = -1;
}

cZipReader::View cZipReader::view(qint64 position, int size)
{
    const qint64 inWindow = position - m_windowPosition;
    if (m_use == Own && inWindow >= 0 && inWindow + size <= m_window.size())
        return {m_window.constData() + inWindow, size};
    m_window.resize(m_use == Own ? qMax(size, windowSize(position)) : size);
    m_windowPosition = position;
    m_window.resize(readAt(position, m_window.data(), m_window.size()));
    return {m_window.constData(), qMin(size, int(m_window.size()))};
}

/// Reads that follow each other become longer, for whoever reads one file of an archive often reads all.
int cZipReader::windowSize(qint64 position) const
{
    const bool isNext = position > m_windowPosition && position <= m_windowPosition + m_window.size();
    return isNext ? qMin(2 * int(m_window.size()), LargestWindow) : SmallestWindow;
}

QByteArray cZipReader::bytes(qint64 position, qint64 size)
{
    const qint64 rest = qMin<qint64>(this->size() - position, MaxArray);
    QByteArray result(int(qBound<qint64>(0, size, qMax<qint64>(0, rest))), Qt::Uninitialized);
    result.resize(readAt(position, result.data(), result.size()));
    return result;
}

int cZipReader::readAt(qint64 position, char* to, int count)
{
    if (!isReadable() || position > size() || !m_device->seek(position))
        return 0;
    int done = 0;
    while (done < count) {
        const qint64 read = m_device->read(to + done, count - done);
        if (read <= 0)
            break;
        done += int(read);
    }
    return done;
}
