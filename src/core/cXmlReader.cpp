#include "core/cXmlReader.h"

#include "core/cXmlBounds.h"
#include "core/cXmlGuard.h"

#include <QtCore/QXmlStreamReader>
#include <QtXml/QDomDocument>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <new>

namespace {

/// Looks for one after the other in pieces, which stay in the processor's cache meanwhile.
bool hasAnyOf(const QByteArray& text, std::initializer_list<char> wanted)
{
    constexpr int Piece = 16 << 10;
    for (int at = 0; at < text.size(); at += Piece) {
        const size_t size = size_t(qMin(Piece, text.size() - at));
        if (std::any_of(wanted.begin(), wanted.end(),
                        [&](char c) { return std::memchr(text.constData() + at, c, size) != nullptr; }))
            return true;
    }
    return false;
}

/// By the code of a byte: whether it is one of @p bytes.
constexpr std::array<bool, 256> marksOf(std::initializer_list<char> bytes)
{
    std::array<bool, 256> marks{};
    for (const char c : bytes)
        marks[uchar(c)] = true;
    return marks;
}

} // namespace

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

bool cXmlReader::readPlain(const QByteArray& xml, cXmlHandler& handler)
{
    const bool hasBlanks = handler.asksForPlaces();
    QByteArray dense;
    if (!isPlain(xml, hasBlanks ? nullptr : &dense))
        return false;
    handler.beginDocument();
    QXmlStreamReader stream(hasBlanks ? xml : dense);
    stream.setNamespaceProcessing(false);
    int depth = 0;
    while (!stream.atEnd()) {
        switch (stream.readNext()) {
        case QXmlStreamReader::StartElement:
            if (++depth > cXmlBounds::MaxDepth || !beginElement(stream, handler))
                return false;
            break;
        case QXmlStreamReader::Characters:
            // The DOM drops text that is nothing but space, of which there are more kinds than XML's own.
            if (!isBlank(stream.text()))
                handler.addCharacters(stream.text());
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            handler.endElement();
            break;
        default:
            break;
        }
    }
    return !stream.hasError();
}

bool cXmlReader::beginElement(const QXmlStreamReader& stream, cXmlHandler& handler)
{
    const QStringView tag = stream.qualifiedName();
    if (!isPlainName(tag))
        return false;
    const QXmlStreamAttributes attributes = stream.attributes();
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (!isPlainName(attribute.qualifiedName()))
            return false;
    }
    handler.beginElement(tag, attributes, int(stream.lineNumber()), int(stream.columnNumber()));
    return true;
}

bool cXmlReader::isBlank(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
}

// The stream lets more pass than names may have.
bool cXmlReader::isPlainName(QStringView name)
{
    const auto isLetter = [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_'; };
    const auto isInner = [&](QChar c) { return isLetter(c) || (c >= u'-' && c <= u':' && c != u'/'); };
    return !name.isEmpty() && isLetter(name.front()) && std::all_of(name.begin(), name.end(), isInner);
}

// UTF-8, elements, attributes and text: no references, declarations, comments, CDATA or instructions; no line ends but
// "\n", and none within an attribute, nor a tab. A declaration is left to the DOM unless it says UTF-8.
bool cXmlReader::isPlain(const QByteArray& xml, QByteArray* dense)
{
    const char* at = xml.constData();
    if (xml.startsWith("<?xml ")) {
        const int begin = xml.indexOf("?>") + 2;
        if (begin < 2 || !xml.left(begin).toLower().contains("encoding=\"utf-8\""))
            return false;
        at += begin;
    }
    if (hasAnyOf(xml, {'&', '\r', '\0'}))
        return false;
    char* out = nullptr;
    if (dense) {
        dense->resize(xml.size());
        out = dense->data();
    }
    const char* kept = xml.constData(); // all before the root stays, so that the root is told with its place
    for (const char* const end = xml.constEnd(); at != end;) {
        const char* const text = at;
        at = endOfBlank(text, end);
        const bool isBlank = at == end || *at == '<';
        const void* const begin = std::memchr(at, '<', size_t(end - at));
        at = begin ? static_cast<const char*>(begin) : end;
        const char* const tag = at;
        if (at != end) {
            ++at;
            if (at == end || *at == '!' || *at == '?')
                return false;
            at = endOfPlainTag(at, end);
            if (!at)
                return false;
        }
        if (!kept)
            kept = isBlank ? tag : text;
        if (out)
            out = std::copy(kept, at, out);
        kept = nullptr;
    }
    if (dense)
        dense->truncate(int(out - dense->constData()));
    return true;
}

const char* cXmlReader::endOfBlank(const char* at, const char* end)
{
    return std::find_if(at, end, [](char c) { return c != ' ' && c != '\n' && c != '\t'; });
}

/// Behind the tag that has begun before @p at; null when a value in it is not plain, or it has too many.
const char* cXmlReader::endOfPlainTag(const char* at, const char* end)
{
    // One look at each byte, of which nearly all are no marks.
    static constexpr std::array<bool, 256> Marks = marksOf({'"', '\'', '>', '\n', '\t'});
    const auto isMark = [](char c) { return Marks[uchar(c)]; };
    char quote = 0; // that the value began with; 0 outside of values
    int values = 0;
    for (; (at = std::find_if(at, end, isMark)) != end; ++at) {
        if (*at == quote) {
            quote = 0;
        } else if (quote && (*at == '\n' || *at == '\t')) {
            return nullptr;
        } else if (!quote && *at == '>') {
            return at + 1;
        } else if (!quote && (*at == '"' || *at == '\'')) {
            quote = *at;
            if (++values > cXmlBounds::MaxAttributes)
                return nullptr;
        }
    }
    return at;
}
