#pragma once

#include <QtCore/QByteArray>

#include <zlib.h>

/// What an entry unpacks to, in the steps that it is told by, as plainly as they can be said.
/// @param size the uncompressed size that the directory states.
inline QByteArray plainInflate(const QByteArray& in, quint32 size)
{
    // A buffer above what the input can inflate to makes no difference but to the memory.
    const qint64 largest = (in.size() + 1) * qint64(1032);
    for (qint64 space = qBound<qint64>(1, size, largest);; space *= 2) {
        QByteArray out(int(space), 0);
        z_stream stream = {};
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.constData()));
        stream.avail_in = uInt(in.size());
        stream.next_out = reinterpret_cast<Bytef*>(out.data());
        stream.avail_out = uInt(space);
        inflateInit2(&stream, -15);
        const int answer = inflate(&stream, Z_FINISH);
        inflateEnd(&stream);
        if (answer == Z_STREAM_END)
            return out.left(int(stream.total_out));
        if (answer != Z_BUF_ERROR || stream.avail_in == 0)
            return QByteArray();
    }
}
