#include "Peer.h"

#include <cstring>

#include <minizip/unzip.h>

namespace {

class MinizipPeer : public Peer
{
public:
    ~MinizipPeer() override { close(); }

    const char* name() const override { return "minizip"; }

    Listing list(const std::string& path) override
    {
        Listing listing;
        open(path);
        unz_file_info64 info;
        char name[1024];
        for (int more = unzGoToFirstFile(m_archive); more == UNZ_OK; more = unzGoToNextFile(m_archive)) {
            if (unzGetCurrentFileInfo64(m_archive, &info, name, sizeof name, nullptr, 0, nullptr, 0) == UNZ_OK)
                listing.add(std::strlen(name), info.uncompressed_size);
        }
        close();
        return listing;
    }

    bool open(const std::string& path) override
    {
        close();
        m_archive = unzOpen64(path.c_str());
        return m_archive != nullptr;
    }

    bool inflateAll(const ContentSink& sink) override
    {
        for (int more = unzGoToFirstFile(m_archive); more == UNZ_OK; more = unzGoToNextFile(m_archive)) {
            if (!inflateCurrent())
                return false;
            sink(m_buffer.data(), m_buffer.size());
        }
        return true;
    }

private:
    bool inflateCurrent()
    {
        unz_file_info64 info;
        if (unzGetCurrentFileInfo64(m_archive, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK ||
            unzOpenCurrentFile(m_archive) != UNZ_OK)
            return false;
        m_buffer.resize(info.uncompressed_size);
        const int count = unzReadCurrentFile(m_archive, m_buffer.data(), unsigned(m_buffer.size()));
        return unzCloseCurrentFile(m_archive) == UNZ_OK && count == int(m_buffer.size());
    }

    void close()
    {
        if (m_archive)
            unzClose(m_archive);
        m_archive = nullptr;
    }

    unzFile m_archive = nullptr;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Peer> makeMinizipPeer()
{
    return std::make_unique<MinizipPeer>();
}
