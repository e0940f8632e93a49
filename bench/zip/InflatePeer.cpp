#include "Peer.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <zlib.h>

namespace {

/// No reader but the floor under all: zlib's inflate over the same packed bytes, which lie in memory already, into one
/// buffer that lies there too. What comes out is held against its size and CRC-32, as every reader here does it.
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
        for (const File& file : m_files) {
            z_stream stream = {};
            stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(file.packed.constData()));
            stream.avail_in = uInt(file.packed.size());
            stream.next_out = reinterpret_cast<Bytef*>(m_buffer.data());
            stream.avail_out = uInt(m_buffer.size());
            if (inflateInit2(&stream, -15) != Z_OK)
                return false;
            const int answer = inflate(&stream, Z_FINISH);
            inflateEnd(&stream);
            if (answer != Z_STREAM_END || stream.total_out != file.size ||
                crcOf(m_buffer.data(), uInt(file.size)) != file.crc)
                return false;
            sink(m_buffer.data(), size_t(stream.total_out));
        }
        return true;
    }

private:
    struct File
    {
        QByteArray packed;
        uLong size;
        uLong crc;
    };

    static uLong crcOf(const char* bytes, uInt size) { return crc32(0, reinterpret_cast<const Bytef*>(bytes), size); }

    std::vector<File> m_files;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Peer> makeInflatePeer()
{
    return std::make_unique<InflatePeer>();
}
