#include "Peer.h"

#include <quazip.h>
#include <quazipfile.h>

namespace {

class QuazipPeer : public Peer
{
public:
    const char* name() const override { return "quazip"; }

    Listing list(const std::string& path) override
    {
        Listing listing;
        open(path);
        for (const QuaZipFileInfo64& file : m_archive->getFileInfoList64())
            listing.add(size_t(file.name.size()), file.uncompressedSize);
        m_archive.reset();
        return listing;
    }

    bool open(const std::string& path) override
    {
        m_archive = std::make_unique<QuaZip>(QString::fromStdString(path));
        return m_archive->open(QuaZip::mdUnzip);
    }

    bool inflateAll(const ContentSink& sink) override
    {
        QuaZipFile file(m_archive.get());
        for (bool more = m_archive->goToFirstFile(); more; more = m_archive->goToNextFile()) {
            if (!file.open(QIODevice::ReadOnly))
                return false;
            m_buffer.resize(size_t(file.usize()));
            const qint64 count = file.read(m_buffer.data(), qint64(m_buffer.size()));
            file.close();
            if (count != qint64(m_buffer.size()))
                return false;
            sink(m_buffer.data(), m_buffer.size());
        }
        return true;
    }

private:
    std::unique_ptr<QuaZip> m_archive;
    std::vector<char> m_buffer;
};

} // namespace

std::unique_ptr<Peer> makeQuazipPeer()
{
    return std::make_unique<QuazipPeer>();
}
