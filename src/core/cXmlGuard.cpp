#include "core/cXmlGuard.h"

#include "core/cXmlBounds.h"

#include <QtXml/QDomDocument>

#if QT_VERSION_MAJOR < 6
#include <QtXml/QXmlInputSource>
#else
#include <QtCore/QStringConverter>
#include <QtCore/QXmlStreamReader>
#endif

#include <new>

namespace {

// The document's text as QDomDocument::setContent() decodes it: Qt 6 has it read by a stream.
#if QT_VERSION_MAJOR < 6
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
QString textOf(const QByteArray& xml)
{
    QXmlInputSource source;
    source.setData(xml);
    return source.data();
}
QT_WARNING_POP
#else
QString textOf(const QByteArray& xml)
{
    QXmlStreamReader stream(xml);
    stream.readNext();
    QStringDecoder declared(stream.documentEncoding().toLatin1().constData());
    if (declared.isValid())
        return declared(xml);
    QStringDecoder detected(QStringDecoder::encodingForData(xml, u'<').value_or(QStringDecoder::Utf8));
    return detected(xml);
}
#endif

} // namespace

bool cXmlGuard::readDom(const QByteArray& xml, QDomDocument& document, QString* reason, bool hasNamespaces)
{
    try {
        return readWithinBounds(xml, document, reason, hasNamespaces);
    } catch (const std::bad_alloc&) {
        document = QDomDocument();
        if (reason)
            *reason = noMemory();
        return false;
    }
}

QString cXmlGuard::noMemory()
{
    return QStringLiteral("line 1, column 1: there is not enough memory for this document");
}

bool cXmlGuard::readWithinBounds(const QByteArray& xml, QDomDocument& document, QString* reason, bool hasNamespaces)
{
    const QString excess = cXmlBounds(textOf(xml)).excess();
    if (!excess.isEmpty()) {
        document = QDomDocument();
        if (reason)
            *reason = excess;
        return false;
    }
    QString message;
    int line = 0;
    int column = 0;
    if (document.setContent(xml, hasNamespaces, &message, &line, &column))
        return true;
    if (reason)
        *reason = QStringLiteral("line %1, column %2: %3").arg(QString::number(line), QString::number(column), message);
    return false;
}
