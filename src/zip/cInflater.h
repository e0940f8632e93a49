#pragma once

#include <QtCore/QByteArray>

#include <memory>

class QString;
struct libdeflate_decompressor;

/**
 * Inflates raw deflate streams (without a zlib or gzip header) that lie in memory, one after the other.
 *
 * zlib decides what a stream gives. Where libdeflate is there, it is asked first, for it is faster; but it takes some
 * streams that zlib calls damaged, such as one with a length symbol that means nothing. So its answer counts only for
 * bytes of the size and the CRC-32 that the archive states. Everything else starts anew with zlib, and the CRC-32 never
 * makes a stream fail. One difference is left: a flaw that changes no byte of the contents is not seen by libdeflate.
 */
class cInflater
{
public:
    /// What an archive states of the inflated bytes.
    struct Stated
    {
        quint32 size = 0;
        quint32 crc = 0;
    };

    /// Inflates a whole stream of at most @p limit bytes. Memory grows with what comes out, never beyond the limit;
    /// bytes after the end of the stream are ignored.
    /// @param error if not null, receives why it failed: a damaged stream, one that is cut off, or one above the limit.
    /// @return whether @p out holds the whole stream; it is empty otherwise.
    bool inflate(const QByteArray& in, qint64 limit, Stated stated, QByteArray* out, QString* error);

    /// Inflates a stream as an archive's entry does it, starting with a buffer of the stated size that is doubled while
    /// input is left. @return empty for a stream that is damaged or cut off, or larger than a byte array.
    QByteArray inflateEntry(const QByteArray& in, Stated stated);

private:
    struct Free
    {
        void operator()(libdeflate_decompressor* decompressor) const;
    };

    bool inflateStated(const QByteArray& in, Stated stated, QByteArray* out);

    std::unique_ptr<libdeflate_decompressor, Free> m_decompressor; // made when it is needed
    QByteArray m_small;                                            // what it has inflated last, when that was small
};
