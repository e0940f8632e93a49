#include "core/cXmlReader.h"

#include "core/cPlainXml.h"
#include "core/cXmlBounds.h"
#include "core/cXmlGuard.h"

#include <QtCore/QXmlStreamReader>
#include <QtXml/QDomDocument>

#include <algorithm>
#include <new>

bool cXmlReader::read(const QByteArray& xml, cXmlHandler& handler, QString* reason)
{
    try {
        return readPlain(xml, handler) || readByDom(xml, handler, reason);
    } catch (const std::bad_alloc&) {
        if (reason)
            *reason = cXmlGuard::noMemory();
        return false;
    }
}

bool cXmlReader::readByDom(const QByteArray& xml, cXmlHandler& handler, QString* reason)
{
    handler.beginDocument();
    QDomDocument document;
    if (!cXmlGuard::readDom(xml, document, reason))
        return false;
    tell(document.documentElement(), handler);
    return true;
}

// As deep as the guard lets the document be.
void cXmlReader::tell(const QDomElement& element, cXmlHandler& handler)
{
    QXmlStreamAttributes attributes;
    const QDomNamedNodeMap nodes = element.attributes();
    for (int i = 0; i < nodes.size(); ++i)
        attributes.append(nodes.item(i).nodeName(), nodes.item(i).nodeValue());
    handler.beginElement(element.tagName(), attributes, element.lineNumber(), element.columnNumber());
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isElement())
            tell(child.toElement(), handler);
        else if (child.isText())
            handler.addCharacters(child.nodeValue());
    }
    handler.endElement();
}

bool cXmlReader::readPlain(const QByteArray& xml, cXmlHandler& handler, int pieceSize)
{
    cPlainXml document(xml, handler.asksForPlaces(), pieceSize);
    handler.beginDocument();
    QXmlStreamReader stream;
    stream.setNamespaceProcessing(false);
    int depth = 0;
    for (QByteArray piece; !(piece = document.next()).isEmpty();) {
        if (stream.tokenType() == QXmlStreamReader::EndDocument)
            return false;
        stream.addData(piece);
        if (!readPiece(stream, handler, depth))
            return false;
    }
    return document.isPlain() && stream.tokenType() == QXmlStreamReader::EndDocument;
}

/// @return false when the document has a fault.
bool cXmlReader::readPiece(QXmlStreamReader& stream, cXmlHandler& handler, int& depth)
{
    while (true) {
        switch (stream.readNext()) {
        case QXmlStreamReader::StartElement: {
            const bool hasPlace = depth == 0 || handler.asksForPlaces();
            if (++depth > cXmlBounds::MaxDepth || !beginElement(stream, hasPlace, handler))
                return false;
            break;
        }
        case QXmlStreamReader::Characters:
            // The DOM drops text that is nothing but space, of which there are more kinds than XML's own.
            if (!isBlank(stream.text()))
                handler.addCharacters(stream.text());
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            handler.endElement();
            break;
        case QXmlStreamReader::Invalid:
            return stream.error() == QXmlStreamReader::PrematureEndOfDocumentError;
        case QXmlStreamReader::EndDocument:
            return true;
        default:
            break;
        }
    }
}

bool cXmlReader::beginElement(const QXmlStreamReader& stream, bool hasPlace, cXmlHandler& handler)
{
    const QStringView tag = stream.qualifiedName();
    if (!beginsPlainly(tag))
        return false;
    const QXmlStreamAttributes attributes = stream.attributes();
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (!beginsPlainly(attribute.qualifiedName()))
            return false;
    }
    handler.beginElement(tag, attributes, hasPlace ? int(stream.lineNumber()) : 0,
                         hasPlace ? int(stream.columnNumber()) : 0);
    return true;
}

bool cXmlReader::isBlank(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
}

// The stream may let a name begin with what the DOM does not.
bool cXmlReader::beginsPlainly(QStringView name)
{
    const QChar first = name.isEmpty() ? QChar() : name.front();
    return (first >= u'a' && first <= u'z') || (first >= u'A' && first <= u'Z') || first == u'_';
}
