#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QDomDocument;

/**
 * Reads XML documents of unknown origin into the DOM without letting them end the process.
 *
 * What cXmlBounds finds too costly is refused before the DOM sees it. Everything else is accepted or refused exactly as
 * `QDomDocument::setContent` does, in time and memory linear in the document's size.
 */
class cXmlGuard
{
public:
    cXmlGuard() = delete;

    /**
     * Parses @p xml into @p document, whose former content is lost.
     * @param reason receives "line L, column C: message" when the result is false; may be null.
     * @param hasNamespaces whether prefixes are resolved to namespaces.
     * @return false when the bytes are not well-formed, are refused for one of the limits, or memory runs out.
     */
    [[nodiscard]] static bool readDom(const QByteArray& xml, QDomDocument& document, QString* reason,
                                      bool hasNamespaces = false);

    /// The reason when memory has run out.
    static QString noMemory();

private:
    static bool readWithinBounds(const QByteArray& xml, QDomDocument& document, QString* reason, bool hasNamespaces);
};
