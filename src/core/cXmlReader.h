#pragma once

#include "core/cPlainXml.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringView>

class QDomElement;
class QXmlStreamAttributes;
class QXmlStreamReader;

/// Is told what stands in a document, from its beginning to its end.
class cXmlHandler
{
public:
    virtual ~cXmlHandler() = default;

    /// Whether the lines and columns of elements are used. Otherwise those of the root alone need be right.
    virtual bool asksForPlaces() const { return false; }

    /// Begins a document, anew when one has been begun before: what has been told of it does not count.
    virtual void beginDocument() = 0;

    /// @param line,column where the element begins, counted from 1, as the parser counted.
    virtual void beginElement(QStringView tag, const QXmlStreamAttributes& attributes, int line, int column) = 0;

    /// Character data of the element that was begun last; never only white space.
    virtual void addCharacters(QStringView text) = 0;

    virtual void endElement() = 0;
};

/**
 * Reads XML and tells a handler, such as a cXmlTree, what is in it. What is accepted, and what the handler is told, is
 * what `QDomDocument::setContent` without namespace processing makes of the bytes; see cXmlBounds for its limits.
 *
 * That way is the slow one. Documents of the plain kind that nearly all of ours are of are read as a stream first; when
 * they have anything in them that the two might see differently, or a fault, the DOM has the say.
 */
class cXmlReader
{
public:
    /// @param reason receives "line L, column C: message" when the result is false; may be null.
    /// @return false when the bytes are refused; the handler has then been told nothing that counts.
    [[nodiscard]] static bool read(const QByteArray& xml, cXmlHandler& handler, QString* reason);

    /// The DOM's way alone: the handler is told nothing before the whole document is accepted.
    [[nodiscard]] static bool readByDom(const QByteArray& xml, cXmlHandler& handler, QString* reason);

    /// The stream's way alone, by pieces of about so many bytes. False when the document is not of the plain kind or
    /// has a fault.
    [[nodiscard]] static bool readPlain(const QByteArray& xml, cXmlHandler& handler,
                                        int pieceSize = cPlainXml::PieceSize);

private:
    static bool readPiece(QXmlStreamReader& stream, cXmlHandler& handler, int& depth);
    static bool beginElement(const QXmlStreamReader& stream, bool hasPlace, cXmlHandler& handler);
    static bool beginsPlainly(QStringView name);
    static bool isBlank(QStringView text);
    static void tell(const QDomElement& element, cXmlHandler& handler);
};
