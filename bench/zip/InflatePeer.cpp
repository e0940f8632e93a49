#include "Peer.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <algorithm>

#include <zlib.h>

namespace {

/// No reader but the floor under all: zlib's inflate with one stream for all files, over the same packed bytes, which
/// lie in memory already, into one buffer that lies there too. What comes out is held against its size and CRC-32, as
/// every reader here does it.
class InflatePeer : public Peer
{
public:
    const char* name() const override { return "loop"; }

    Listing list(const std::string&) override { return Listing(); }

    bool open(const std::string& path) override
    {
        const cZipArchive archive(QString::fromStdString(path));
        m_files.clear();
        int largest = 0;
        for (const QSharedPointer<cZipEntry>& entry : archive.entries()) {
            const QByteArray content = entry->content();
            m_files.push_back(
                {entry->compressedContent(), uLong(content.size()), crcOf(content.constData(), content.size())});
            largest = qMax(largest, entry->uncompressedSize());
        }
        m_buffer.resize(size_t(largest));
        return !m_files.empty();
    }

    bool inflateAll(const ContentSink& sink) override
    {
        z_stream stream = {};
        if (inflateInit2(&stream, -15) != Z_OK)
            return false;
        const bool isRead = std::all_of(m_files.begin(), m_files.end(),
                                        [&](const File& file) { return inflateOne(stream, file, sink); });
        inflateEnd(&stream);
        return isRead;
    }

private:
    struct File
    {
        QByteArray packed;
        uLong size;
        uLong crc;
    };

    bool inflateOne(z_stream& stream, const File& file, const ContentSink& sink)
    {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(file.packed.constData()));
        stream.avail_in = uInt(file.packed.size());
        stream.next_out = reinterpret_cast<Bytef*>(m_buffer.data());
        stream.avail_out = uInt(m_buffer.size());
        if (inflateReset(&stream) != Z_OK || inflate(&stream, Z_FINISH) != Z_STREAM_END ||
            stream.total_out != file.size || crcOf(m_buffer.data(), uInt(file.size)) != file.crc)
            return false;
        sink(m_buffer.data(), size_t(stream.total_out));
        return true;
    }

    static uLong crcOf(const char* bytes, uInt size) { return crc32(0, reinterpret_cast<const Bytef*>(bytes), size); }

    std::vector<File> m_files;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Peer> makeInflatePeer()
{
    return std::make_unique<InflatePeer>();
}
