#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What a walk over the names and sizes of an archive's files adds up to.
struct Listing
{
    size_t files = 0;
    size_t nameBytes = 0;
    uint64_t bytes = 0;

    void add(size_t nameLength, uint64_t size)
    {
        ++files;
        nameBytes += nameLength;
        bytes += size;
    }
    bool operator==(const Listing& other) const
    {
        return files == other.files && nameBytes == other.nameBytes && bytes == other.bytes;
    }
};

/// Receives the bytes of one file after the other, in the archive's order.
using ContentSink = std::function<void(const char* bytes, size_t size)>;

/// A zip reader in the comparison. Each does the same tasks on the same archive file.
class Peer
{
public:
    virtual ~Peer() = default;

    virtual const char* name() const = 0;

    /// Opens the archive, takes name and size of each of its files, and closes it.
    virtual Listing list(const std::string& path) = 0;

    /// Opens the archive for `inflateAll`, and closes what was open before.
    virtual bool open(const std::string& path) = 0;

    /// Unpacks all files of the open archive into memory, one at a time.
    /// @return whether all could be read.
    virtual bool inflateAll(const ContentSink& sink) = 0;
};

std::unique_ptr<Peer> makeNorvalePeer();
std::unique_ptr<Peer> makeInflatePeer();
std::unique_ptr<Peer> makeLibzipPeer();
std::unique_ptr<Peer> makeMinizipPeer();
std::unique_ptr<Peer> makeQuazipPeer();
