#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QDomDocument;

/**
 * Reads XML documents of unknown origin into the DOM without letting them end the process.
 *
 * Qt's DOM reader and the destruction of its tree recurse once a level, so that a document of a million nested
 * elements overflows the stack. Elements nested deeper than `MaxDepth` are therefore refused while they are parsed.
 * Everything else is accepted or refused exactly as `QDomDocument::setContent` without namespace processing does.
 *
 * Time and memory are linear in the size of the document; Qt bounds what an entity may expand to.
 */
class cXmlGuard
{
public:
    cXmlGuard() = delete;

    /// Deepest nesting of elements that is read. The system's own documents need six levels; a thousand fit into a
    /// quarter of the smallest default stack of a main thread (1 MiB) also in a build with sanitizers.
    static constexpr int MaxDepth = 1000;

    /**
     * Parses @p xml into @p document, whose former content is lost.
     * @param reason receives "line L, column C: message" when the result is false; may be null.
     * @return false when the bytes are not well-formed or are nested too deeply.
     */
    [[nodiscard]] static bool readDom(const QByteArray& xml, QDomDocument& document, QString* reason);

    /**
     * Tells whether `readDom` would succeed, building no document. One who wants the document calls `readDom` alone.
     */
    [[nodiscard]] static bool isReadable(const QByteArray& xml, QString* reason);
};
