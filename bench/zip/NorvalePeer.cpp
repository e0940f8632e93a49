#include "Peer.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

namespace {

class NorvalePeer : public Peer
{
public:
    const char* name() const override { return "norvale"; }

    Listing list(const std::string& path) override
    {
        const cZipArchive archive(QString::fromStdString(path));
        Listing listing;
        for (const QSharedPointer<cZipEntry>& entry : archive.entries())
            listing.add(size_t(entry->name().size()), uint32_t(entry->uncompressedSize()));
        return listing;
    }

    bool open(const std::string& path) override
    {
        m_archive = std::make_unique<cZipArchive>(QString::fromStdString(path));
        return !m_archive->entries().isEmpty();
    }

    bool inflateAll(const ContentSink& sink) override
    {
        const QList<QSharedPointer<cZipEntry>> entries = m_archive->entries(); // constant: a loop does not copy it
        for (const QSharedPointer<cZipEntry>& entry : entries) {
            const QByteArray content = entry->content();
            if (content.size() != entry->uncompressedSize())
                return false;
            sink(content.constData(), size_t(content.size()));
        }
        return true;
    }

private:
    std::unique_ptr<cZipArchive> m_archive;
};

} // namespace

std::unique_ptr<Peer> makeNorvalePeer()
{
    return std::make_unique<NorvalePeer>();
}
