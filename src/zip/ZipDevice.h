#pragma once

#include <QtCore/QByteArray>

class QIODevice;

/// Reading a device at a place. What a device says of itself is not trusted: a seek beyond its end is never tried, for
/// a writable buffer would grow by it.
namespace ZipDevice {

/// The longest byte array that is made; its own administration comes on top.
constexpr int MaxArray = 0x7fffff00;

/// Whether anything can be read of @p device, which may be null.
bool isReadable(const QIODevice* device);

/// Reads into @p to. @return the number of bytes read, fewer than @p size only where the device ends; -1 when the place
/// cannot be reached.
int readAt(QIODevice* device, qint64 position, char* to, int size);

/// As above, with memory for what the device has, not for what is asked for.
QByteArray readAt(QIODevice* device, qint64 position, qint64 size);

} // namespace ZipDevice
