#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>

#include <vector>

/**
 * Tells before a document is parsed whether parsing it could take memory, stack or time out of proportion.
 *
 * Qt's readers recurse once for each level of elements and of content models, compare each attribute of an element with
 * all others of it, and put in the text of entities wherever they are referred to. So the document is walked once:
 * tags, attributes, the document type, and the text of its entities where they are put in. Text, comments and CDATA
 * sections are passed over. What is not well-formed is no matter of this walk; the parser will say so.
 */
class cXmlBounds
{
public:
    /// Deepest nesting of elements that is read. The system's own documents need six levels; a thousand fit into a
    /// quarter of the smallest default stack of a main thread (1 MiB) also in a build with sanitizers.
    static constexpr int MaxDepth = 1000;

    /// Most attributes of an element.
    static constexpr int MaxAttributes = 1000;

    /// Most characters that the document's own entities make, all references together.
    static constexpr qint64 MaxEntityText = 16 << 20;

    /// Most entities of a document type, and the most of their number times the characters of their texts: Qt looks for
    /// each of them in the text of each. That is a second at most.
    static constexpr int MaxEntities = 4000;
    static constexpr qint64 MaxComparisons = Q_INT64_C(1) << 32;

    /// Deepest nesting of a content model.
    static constexpr int MaxContentModel = 1000;

    explicit cXmlBounds(const QString& document);

    /// Walks the document. @return "line L, column C: what is too much"; empty when nothing is.
    QString excess();

private:
    /// A text that is walked: the document, or that of an entity that is put in.
    struct Level
    {
        QString text;
        QString entity;
        int at = 0;
    };

    static constexpr int End = -1;
    using Entities = QHash<QString, QString>;

    // What is walked behind the characters that begin it.
    void passContent();
    void passMarkup();
    void passTag();
    void passValue(int quote);
    void passDocumentType();
    void passSubset();
    void passDeclaration();
    void passRestOfDeclaration();
    void passUntil(const char* end);

    void readEntity();
    void countEntity(const QString& value);
    QString readEntityValue(int quote);
    QString readWord();

    int take();
    int takeBehindSpaces();
    void giveBack() { --m_levels.back().at; }
    QString takeReference();
    bool putIn(const Entities& entities, const QString& name);
    void stop(const QString& reason);

    std::vector<Level> m_levels;
    Entities m_entities;
    Entities m_parameters;
    qint64 m_entityText = 0;
    int m_depth = 0;
    int m_declared = 0;        // entities ...
    qint64 m_declaredText = 0; // ... and the characters of their texts
    QString m_excess;
};
