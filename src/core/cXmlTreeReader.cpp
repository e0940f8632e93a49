#include "core/cXmlTreeReader.h"

#include "core/cXmlGuard.h"

#include <QtCore/QXmlStreamReader>
#include <QtXml/QDomDocument>

#include <algorithm>

bool cXmlTreeReader::read(const QByteArray& xml, cXmlTree& tree, QString* reason)
{
    return readPlain(xml, tree) || readByDom(xml, tree, reason);
}

bool cXmlTreeReader::readByDom(const QByteArray& xml, cXmlTree& tree, QString* reason)
{
    tree.clear();
    QDomDocument document;
    if (!cXmlGuard::readDom(xml, document, reason))
        return false;
    copy(document.documentElement(), tree);
    return true;
}

// As deep as the guard lets the document be.
void cXmlTreeReader::copy(const QDomElement& element, cXmlTree& tree)
{
    tree.beginElement(element.tagName(), element.lineNumber(), element.columnNumber());
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.size(); ++i)
        tree.addAttribute(attributes.item(i).nodeName(), attributes.item(i).nodeValue());
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isElement())
            copy(child.toElement(), tree);
        else if (child.isText())
            tree.addCharacters(child.nodeValue());
    }
    tree.endElement();
}

bool cXmlTreeReader::readPlain(const QByteArray& xml, cXmlTree& tree)
{
    tree.clear();
    if (!isPlain(xml))
        return false;
    QXmlStreamReader stream(xml);
    stream.setNamespaceProcessing(false);
    while (!stream.atEnd()) {
        switch (stream.readNext()) {
        case QXmlStreamReader::StartElement:
            if (!beginElement(stream, tree))
                return false;
            break;
        case QXmlStreamReader::Characters:
            if (!stream.text().trimmed().isEmpty()) // the DOM drops text that is nothing but space
                tree.addCharacters(stream.text());
            break;
        case QXmlStreamReader::EndElement:
            tree.endElement();
            break;
        default:
            break;
        }
    }
    return !stream.hasError();
}

bool cXmlTreeReader::beginElement(const QXmlStreamReader& stream, cXmlTree& tree)
{
    if (tree.depth() == cXmlGuard::MaxDepth || !isPlainName(stream.qualifiedName()))
        return false;
    tree.beginElement(stream.qualifiedName(), int(stream.lineNumber()), int(stream.columnNumber()));
    const QXmlStreamAttributes attributes = stream.attributes();
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (!isPlainName(attribute.qualifiedName()))
            return false;
        tree.addAttribute(attribute.qualifiedName(), attribute.value());
    }
    return true;
}

// The stream lets more pass than names may have.
bool cXmlTreeReader::isPlainName(QStringView name)
{
    const auto isLetter = [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_'; };
    const auto isInner = [&](QChar c) { return isLetter(c) || (c >= u'-' && c <= u':' && c != u'/'); };
    return !name.isEmpty() && isLetter(name.front()) && std::all_of(name.begin(), name.end(), isInner);
}

// UTF-8, elements, attributes and text: no references, declarations, comments, CDATA or instructions; no line ends but
// "\n", and none within an attribute, nor a tab. A declaration is left to the DOM unless it says UTF-8.
bool cXmlTreeReader::isPlain(const QByteArray& xml)
{
    int begin = 0;
    if (xml.startsWith("<?xml ")) {
        begin = xml.indexOf("?>") + 2;
        if (begin < 2 || !xml.left(begin).toLower().contains("encoding=\"utf-8\""))
            return false;
    }
    for (char never : {'&', '\r', '\0'}) {
        if (xml.contains(never))
            return false;
    }
    const char* end = xml.constEnd();
    const char* at = std::find(xml.constData() + begin, end, '<');
    while (at != end) {
        ++at;
        if (at == end || *at == '!' || *at == '?')
            return false;
        at = endOfPlainTag(at, end);
        if (!at)
            return false;
        at = std::find(at, end, '<');
    }
    return true;
}

/// The end of the tag that has begun before @p at; null when a value in it is not plain.
const char* cXmlTreeReader::endOfPlainTag(const char* at, const char* end)
{
    char quote = 0; // that the value began with
    for (; at != end; ++at) {
        if (quote) {
            if (*at == '\n' || *at == '\t')
                return nullptr;
            if (*at == quote)
                quote = 0;
        } else if (*at == '>') {
            break;
        } else if (*at == '"' || *at == '\'') {
            quote = *at;
        }
    }
    return at;
}
