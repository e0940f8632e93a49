#pragma once

#include "core/cXmlReader.h"

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <vector>

class cXmlTree;

/**
 * An element of a cXmlTree, or the null element; a small value that is valid as long as its tree does not change.
 */
class cXmlElement
{
public:
    cXmlElement() = default;

    bool isNull() const { return !m_tree; }
    QStringView tag() const;

    /// The attribute's value, or @p absent when there is no such attribute.
    QString attribute(QStringView name, const QString& absent = QString()) const;

    /// The attributes that are there, in document order. A name lives as long as the tree does not change.
    int attributeCount() const;
    QStringView attributeName(int number) const;

    /// The character data of the element and of all below it, in document order.
    QString text() const;

    /// The first child of that tag, of any tag when that is null; the null element when there is none.
    cXmlElement firstChild(QStringView tag = QStringView()) const;

    /// The next element with the same parent; tags as above.
    cXmlElement nextSibling(QStringView tag = QStringView()) const;

    /// Where the element begins; see cXmlHandler.
    int line() const;
    int column() const;

private:
    friend class cXmlTree;
    cXmlElement(const cXmlTree* tree, int node) : m_tree(node < 0 ? nullptr : tree), m_node(node) {}
    cXmlElement firstOf(int node, QStringView tag) const;

    const cXmlTree* m_tree = nullptr;
    int m_node = 0;
};

/// The elements, attributes and character data of an XML document, kept side by side in a few arrays.
class cXmlTree : public cXmlHandler
{
public:
    bool asksForPlaces() const override { return true; }
    void beginDocument() override;
    void beginElement(QStringView tag, const QXmlStreamAttributes& attributes, int line, int column) override;
    void addCharacters(QStringView text) override;
    void endElement() override;

    /// The root element; null in an empty tree.
    cXmlElement root() const { return cXmlElement(this, m_nodes.empty() ? -1 : 0); }

private:
    friend class cXmlElement;

    struct Span
    {
        int begin;
        int size;
    };
    struct Attribute
    {
        Span name;
        Span value;
    };
    struct Node
    {
        Span tag;
        Span text; // in m_text: that of all below lies between
        int firstAttribute;
        int attributeCount;
        int firstChild;
        int lastChild;
        int nextSibling;
        int line;
        int column;
    };

    Span keep(QStringView text);
    QStringView view(Span span) const { return QStringView(m_names).mid(span.begin, span.size); }

    QString m_names; // tags, and names and values of attributes
    QString m_text;
    std::vector<Attribute> m_attributes;
    std::vector<Node> m_nodes;
    std::vector<int> m_open; // from the root to the element that is being made
};
