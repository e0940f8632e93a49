#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QDomDocument;

/**
 * Reads XML documents of unknown origin into the DOM without letting them end the process.
 *
 * Qt's DOM reader and the destruction of its tree recurse once a level, so that a document of a million nested
 * elements overflows the stack. Elements nested deeper than `MaxDepth` are therefore refused while they are parsed. A
 * document that declares entities, elements or attributes of its own is refused when it leans on them so heavily that
 * reading could take time or memory out of proportion. Everything else is accepted or refused exactly as
 * `QDomDocument::setContent` does, in time and memory linear in the document's size.
 */
class cXmlGuard
{
public:
    cXmlGuard() = delete;

    /// Deepest nesting of elements that is read. The system's own documents need six levels; a thousand fit into a
    /// quarter of the smallest default stack of a main thread (1 MiB) also in a build with sanitizers.
    static constexpr int MaxDepth = 1000;

    /// In a document that declares entities, elements or attributes: the most "&" and "%" together, which bounds what
    /// references expand to by 400 KiB, and the most "<!" and "(" each.
    static constexpr int MaxReferences = 100;
    static constexpr int MaxDeclarations = 1000;

    /**
     * Parses @p xml into @p document, whose former content is lost.
     * @param reason receives "line L, column C: message" when the result is false; may be null.
     * @param hasNamespaces whether prefixes are resolved to namespaces.
     * @return false when the bytes are not well-formed or are refused for one of the limits above.
     */
    [[nodiscard]] static bool readDom(const QByteArray& xml, QDomDocument& document, QString* reason,
                                      bool hasNamespaces = false);
};
