#pragma once

#include <QtCore/QByteArray>

class QIODevice;

/// Reads a device at places. What is asked for comes from an archive, so that memory is made only for what the device
/// has, and a seek beyond its end is never tried: a writable buffer would grow by it.
class cZipReader
{
public:
    /// The longest byte array that is made; its own administration comes on top.
    static constexpr int MaxArray = 0x7fffff00;

    enum Use {
        Shared, // others may change the device, so that it is read anew each time.
        Own     // what was read once stays true until reset(): files that follow each other come from one read.
    };

    /// @param device may be null; it must be open, and able to seek, for anything to be read.
    explicit cZipReader(QIODevice* device = nullptr, Use use = Shared);

    QIODevice* device() const { return m_device; }
    bool isReadable() const;
    qint64 size();
    /// Forgets what was read.
    void reset();

    /// Bytes in memory of the reader; valid until it reads again.
    struct View
    {
        const char* data;
        int size;
    };

    /// The bytes at @p position: @p size of them (a few KiB), or as many as the device has.
    View view(qint64 position, int size);

    /// A copy of the bytes at @p position: @p size of them, or as many as the device and a byte array have.
    QByteArray bytes(qint64 position, qint64 size);

private:
    int readAt(qint64 position, char* to, int count);
    int windowSize(qint64 position) const;

    QIODevice* m_device;
    Use m_use;
    QByteArray m_window; // what was read for the last view
    qint64 m_windowPosition = 0;
    qint64 m_size = -1; // of an own device, once it was asked for
};
