#include "core/cXmlGuard.h"

#include <QtXml/QDomDocument>
#include <QtXml/QXmlContentHandler>
#include <QtXml/QXmlInputSource>
#include <QtXml/QXmlSimpleReader>

// QDomDocument::setContent(QByteArray) is built on Qt's SAX reader. Using the same reader here, with a filter between
// it and the DOM, gives the same answers in one pass. Qt 6 has neither: this file is the seam.
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED

namespace {

/// Passes everything on to the DOM's handler, and stops the reader at the first element that is nested too deeply.
class cDepthFilter : public QXmlContentHandler
{
public:
    void setNext(QXmlContentHandler* next) { m_next = next; }

    bool startElement(const QString& uri, const QString& localName, const QString& name,
                      const QXmlAttributes& attributes) override
    {
        m_isTooDeep = ++m_depth > cXmlGuard::MaxDepth;
        return !m_isTooDeep && m_next->startElement(uri, localName, name, attributes);
    }
    bool endElement(const QString& uri, const QString& localName, const QString& name) override
    {
        --m_depth;
        return m_next->endElement(uri, localName, name);
    }
    QString errorString() const override
    {
        return m_isTooDeep ? QStringLiteral("elements nested deeper than %1 levels").arg(cXmlGuard::MaxDepth)
                           : m_next->errorString();
    }

    void setDocumentLocator(QXmlLocator* locator) override { m_next->setDocumentLocator(locator); }
    bool startDocument() override { return m_next->startDocument(); }
    bool endDocument() override { return m_next->endDocument(); }
    bool startPrefixMapping(const QString& prefix, const QString& uri) override
    {
        return m_next->startPrefixMapping(prefix, uri);
    }
    bool endPrefixMapping(const QString& prefix) override { return m_next->endPrefixMapping(prefix); }
    bool characters(const QString& text) override { return m_next->characters(text); }
    bool ignorableWhitespace(const QString& text) override { return m_next->ignorableWhitespace(text); }
    bool processingInstruction(const QString& target, const QString& data) override
    {
        return m_next->processingInstruction(target, data);
    }
    bool skippedEntity(const QString& name) override { return m_next->skippedEntity(name); }

private:
    QXmlContentHandler* m_next = nullptr;
    int m_depth = 0;
    bool m_isTooDeep = false;
};

/// The reader as QDomDocument sets it up.
class cGuardedReader : public QXmlSimpleReader
{
public:
    explicit cGuardedReader(bool hasNamespaces)
    {
        setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), hasNamespaces);
        setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), !hasNamespaces);
        setFeature(QStringLiteral("http://trolltech.com/xml/features/report-whitespace-only-CharData"), false);
    }

    void setContentHandler(QXmlContentHandler* handler) override
    {
        m_filter.setNext(handler);
        QXmlSimpleReader::setContentHandler(&m_filter);
    }

private:
    cDepthFilter m_filter;
};

/// Qt's reader checks each declared entity against all others, recurses into the content models of elements, and
/// replaces every reference by up to 4,096 characters, which may be a thousand elements.
bool hasCostlyDeclarations(const QString& text)
{
    if (!text.contains(QLatin1String("<!ENTITY")) && !text.contains(QLatin1String("<!ELEMENT")) &&
        !text.contains(QLatin1String("<!ATTLIST")))
        return false;
    return text.count(QLatin1Char('&')) + text.count(QLatin1Char('%')) > cXmlGuard::MaxReferences ||
           text.count(QLatin1String("<!")) > cXmlGuard::MaxDeclarations ||
           text.count(QLatin1Char('(')) > cXmlGuard::MaxDeclarations;
}

} // namespace

bool cXmlGuard::readDom(const QByteArray& xml, QDomDocument& document, QString* reason, bool hasNamespaces)
{
    QXmlInputSource source;
    source.setData(xml);
    if (hasCostlyDeclarations(source.data())) {
        document = QDomDocument();
        if (reason)
            *reason = QStringLiteral("line 1, column 1: too much depends on the document's own declarations");
        return false;
    }
    cGuardedReader reader(hasNamespaces);
    QString message;
    int line = 0;
    int column = 0;
    if (document.setContent(&source, &reader, &message, &line, &column))
        return true;
    document = QDomDocument();
    if (reason)
        *reason = QStringLiteral("line %1, column %2: %3").arg(QString::number(line), QString::number(column), message);
    return false;
}

QT_WARNING_POP
