#pragma once

#include <QtCore/QByteArray>

/**
 * A document of the plain kind that nearly all of ours are of, which the stream reader and the DOM see alike: in UTF-8,
 * with elements, attributes and text, but no references, declarations, comments, CDATA or instructions; no line ends
 * but "\n", and none within an attribute, nor a tab; names of ASCII letters, digits and a few signs.
 *
 * It is given in pieces that end with a tag. A stream reader that gets a large document in pieces which the processor's
 * caches hold turns each into text there, and not the whole of it beforehand.
 */
class cPlainXml
{
public:
    static constexpr int PieceSize = 64 << 10;

    /// @param keepsBlanks whether the document is given as it is. Otherwise it is given without the blank text between
    /// its tags, of which nobody is told and which takes the stream a seventh of its time; but all before the root
    /// stays, so that the root is told with its place.
    /// @param pieceSize of how many bytes of the document a piece is made, and of the rest of the tag there.
    cPlainXml(const QByteArray& xml, bool keepsBlanks, int pieceSize = PieceSize);

    /// The next piece; empty at the end, and where the document turns out not to be plain.
    QByteArray next();

    /// Whether the document is plain, as far as it has been given.
    bool isPlain() const { return m_isPlain; }

private:
    QByteArray stop();
    const char* endOfTag(const char* tag) const;

    const QByteArray m_xml;
    const bool m_keepsBlanks;
    const int m_pieceSize;
    const char* m_at; // behind what has been given
    const char* const m_end;
    qptrdiff m_declaration = 0; // its length, until it has been given
    bool m_isPlain = true;
};
