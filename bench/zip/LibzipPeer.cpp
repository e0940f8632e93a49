#include "Peer.h"

#include <cstring>

#include <zip.h>

namespace {

struct Discard
{
    void operator()(zip_t* archive) const { zip_discard(archive); }
};

class LibzipPeer : public Peer
{
public:
    const char* name() const override { return "libzip"; }

    Listing list(const std::string& path) override
    {
        Listing listing;
        open(path);
        const zip_int64_t count = zip_get_num_entries(m_archive.get(), 0);
        zip_stat_t stat;
        for (zip_int64_t i = 0; i < count; ++i) {
            if (zip_stat_index(m_archive.get(), zip_uint64_t(i), 0, &stat) == 0)
                listing.add(std::strlen(stat.name), stat.size);
        }
        m_archive.reset();
        return listing;
    }

    bool open(const std::string& path) override
    {
        m_archive.reset(zip_open(path.c_str(), ZIP_RDONLY, nullptr));
        return m_archive != nullptr;
    }

    bool inflateAll(const ContentSink& sink) override
    {
        const zip_int64_t count = zip_get_num_entries(m_archive.get(), 0);
        for (zip_int64_t i = 0; i < count; ++i) {
            if (!inflateOne(zip_uint64_t(i)))
                return false;
            sink(m_buffer.data(), m_buffer.size());
        }
        return true;
    }

private:
    bool inflateOne(zip_uint64_t index)
    {
        zip_stat_t stat;
        if (zip_stat_index(m_archive.get(), index, 0, &stat) != 0)
            return false;
        zip_file_t* file = zip_fopen_index(m_archive.get(), index, 0);
        if (!file)
            return false;
        m_buffer.resize(stat.size);
        const zip_int64_t count = zip_fread(file, m_buffer.data(), stat.size);
        return zip_fclose(file) == 0 && count == zip_int64_t(stat.size);
    }

    std::unique_ptr<zip_t, Discard> m_archive;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Peer> makeLibzipPeer()
{
    return std::make_unique<LibzipPeer>();
}
