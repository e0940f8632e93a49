#pragma once

#include "zip/cInflater.h"

#include <QtCore/QByteArray>

#include <zlib.h>

/// What an archive that says the truth states of @p content.
inline cInflater::Stated statedOf(const QByteArray& content)
{
    const auto* bytes = reinterpret_cast<const Bytef*>(content.constData());
    return {quint32(content.size()), quint32(crc32(0, bytes, uInt(content.size())))};
}

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
