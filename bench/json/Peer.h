#pragma once

#include <QtCore/QByteArray>

#include <memory>
#include <vector>

/// A JSON library in the comparison. Each does the same tasks on the same text.
class Peer
{
public:
    virtual ~Peer() = default;

    virtual const char* name() const = 0;

    /// Reads @p text, frees the document. @return whether it was read.
    virtual bool read(const QByteArray& text) = 0;

    /// Reads @p text and keeps the document for `write` and `countValues`.
    virtual bool keep(const QByteArray& text) = 0;

    /// Writes the kept document in its compact form. @return the number of bytes.
    virtual size_t write() = 0;

    /// The values of the kept document, containers included; what the answers are compared by.
    virtual size_t countValues() const = 0;

    /// Frees the kept document.
    virtual void drop() = 0;
};

std::unique_ptr<Peer> makeNorvalePeer();
std::unique_ptr<Peer> makeQtPeer();
std::unique_ptr<Peer> makeNlohmannPeer();
std::unique_ptr<Peer> makeRapidJsonPeer();

/// All peers that this program was built with; the library first, then the one it is held against.
inline std::vector<std::unique_ptr<Peer>> makePeers()
{
    std::vector<std::unique_ptr<Peer>> peers;
    peers.push_back(makeNorvalePeer());
    peers.push_back(makeQtPeer());
#if defined(NORVALE_HAS_NLOHMANN)
    peers.push_back(makeNlohmannPeer());
#endif
#if defined(NORVALE_HAS_RAPIDJSON)
    peers.push_back(makeRapidJsonPeer());
#endif
    return peers;
}
