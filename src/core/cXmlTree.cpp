#include "core/cXmlTree.h"

#include <QtCore/QXmlStreamReader>

QStringView cXmlElement::tag() const
{
    return m_tree ? m_tree->view(m_tree->m_nodes[m_node].tag) : QStringView();
}

QString cXmlElement::attribute(QStringView name, const QString& absent) const
{
    if (!m_tree)
        return absent;
    const cXmlTree::Node& node = m_tree->m_nodes[m_node];
    for (int i = node.firstAttribute; i < node.firstAttribute + node.attributeCount; ++i) {
        if (m_tree->view(m_tree->m_attributes[i].name) == name)
            return m_tree->view(m_tree->m_attributes[i].value).toString();
    }
    return absent;
}

int cXmlElement::attributeCount() const
{
    return m_tree ? m_tree->m_nodes[m_node].attributeCount : 0;
}

QStringView cXmlElement::attributeName(int number) const
{
    return m_tree->view(m_tree->m_attributes[m_tree->m_nodes[m_node].firstAttribute + number].name);
}

QString cXmlElement::text() const
{
    if (!m_tree)
        return QString();
    const cXmlTree::Span text = m_tree->m_nodes[m_node].text;
    return m_tree->m_text.mid(text.begin, text.size);
}

cXmlElement cXmlElement::firstChild(QStringView tag) const
{
    return m_tree ? firstOf(m_tree->m_nodes[m_node].firstChild, tag) : cXmlElement();
}

cXmlElement cXmlElement::nextSibling(QStringView tag) const
{
    return m_tree ? firstOf(m_tree->m_nodes[m_node].nextSibling, tag) : cXmlElement();
}

cXmlElement cXmlElement::firstOf(int node, QStringView tag) const
{
    while (node >= 0 && !tag.isNull() && m_tree->view(m_tree->m_nodes[node].tag) != tag)
        node = m_tree->m_nodes[node].nextSibling;
    return cXmlElement(m_tree, node);
}

int cXmlElement::line() const
{
    return m_tree ? m_tree->m_nodes[m_node].line : 0;
}

int cXmlElement::column() const
{
    return m_tree ? m_tree->m_nodes[m_node].column : 0;
}

void cXmlTree::beginDocument()
{
    *this = cXmlTree();
}

void cXmlTree::beginElement(QStringView tag, const QXmlStreamAttributes& attributes, int line, int column)
{
    const int number = int(m_nodes.size());
    if (!m_open.empty()) {
        Node& parent = m_nodes[m_open.back()];
        (parent.firstChild < 0 ? parent.firstChild : m_nodes[parent.lastChild].nextSibling) = number;
        parent.lastChild = number;
    }
    const Span text{int(m_text.size()), 0};
    m_nodes.push_back({keep(tag), text, int(m_attributes.size()), int(attributes.size()), -1, -1, -1, line, column});
    m_open.push_back(number);
    for (const QXmlStreamAttribute& attribute : attributes)
        m_attributes.push_back({keep(attribute.qualifiedName()), keep(attribute.value())});
}

void cXmlTree::addCharacters(QStringView text)
{
    m_text.append(text.data(), int(text.size()));
}

void cXmlTree::endElement()
{
    Node& node = m_nodes[m_open.back()];
    node.text.size = int(m_text.size()) - node.text.begin;
    m_open.pop_back();
}

cXmlTree::Span cXmlTree::keep(QStringView text)
{
    const Span span{int(m_names.size()), int(text.size())};
    m_names.append(text.data(), int(text.size()));
    return span;
}
