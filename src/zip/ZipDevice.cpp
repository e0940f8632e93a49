#include "zip/ZipDevice.h"

#include <QtCore/QIODevice>

bool ZipDevice::isReadable(const QIODevice* device)
{
    return device && device->isReadable() && !device->isSequential();
}

int ZipDevice::readAt(QIODevice* device, qint64 position, char* to, int size)
{
    if (position > device->size() || !device->seek(position))
        return -1;
    int done = 0;
    while (done < size) {
        const qint64 count = device->read(to + done, size - done);
        if (count <= 0)
            break;
        done += int(count);
    }
    return done;
}

QByteArray ZipDevice::readAt(QIODevice* device, qint64 position, qint64 size)
{
    const qint64 rest = device->size() - position;
    QByteArray bytes;
    if (rest > 0)
        bytes.resize(int(qMin<qint64>(qMin(size, rest), MaxArray)));
    bytes.resize(qMax(0, readAt(device, position, bytes.data(), bytes.size())));
    return bytes;
}
