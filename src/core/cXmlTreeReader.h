#pragma once

#include "core/cXmlTree.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QDomElement;
class QXmlStreamReader;

/**
 * Reads XML and tells a handler, such as a cXmlTree, what is in it. What is accepted, and what the handler is told, is
 * what `QDomDocument::setContent` without namespace processing makes of the bytes; see cXmlGuard for its limits.
 *
 * That way is the slow one. Documents of the plain kind that nearly all of ours are of are read as a stream first; when
 * they have anything in them that the two might see differently, or a fault, the DOM has the say.
 */
class cXmlTreeReader
{
public:
    /// @param reason receives "line L, column C: message" when the result is false; may be null.
    /// @return false when the bytes are refused; the handler has then been told nothing that counts.
    [[nodiscard]] static bool read(const QByteArray& xml, cXmlHandler& handler, QString* reason);

    /// The DOM's way alone: the handler is told nothing before the whole document is accepted.
    [[nodiscard]] static bool readByDom(const QByteArray& xml, cXmlHandler& handler, QString* reason);

    /// The stream's way alone. False when the document is not of the plain kind or has a fault.
    [[nodiscard]] static bool readPlain(const QByteArray& xml, cXmlHandler& handler);

private:
    static bool isPlain(const QByteArray& xml);
    static const char* endOfPlainTag(const char* at, const char* end);
    static bool isPlainName(QStringView name);
    static bool beginElement(const QXmlStreamReader& stream, cXmlHandler& handler);
    static void tell(const QDomElement& element, cXmlHandler& handler);
};
