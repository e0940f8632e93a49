#include "core/cXmlGuard.h"

#include "core/cXmlBounds.h"

#include <QtXml/QDomDocument>

#if QT_VERSION_MAJOR < 6
#include <QtXml/QXmlInputSource>
#else
#include <QtCore/QCoreApplication>
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

bool isMisencoded(const QString&)
{
    return false;
}

void tellAlike(const QString&, QString&, int&, int&) {}
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

// Qt 5 reads on behind bytes that are no text.
bool isMisencoded(const QString& message)
{
    return message == QCoreApplication::translate("QXmlStream", "Encountered incorrectly encoded content.");
}

/// Of what is found most, a document that is cut off or whose tags do not match, place and text are those of Qt 5.
void tellAlike(const QString& text, QString& message, int& line, int& column)
{
    if (message == QCoreApplication::translate("QXmlStream", "Opening and ending tag mismatch."))
        message = QStringLiteral("tag mismatch");
    if (message != QCoreApplication::translate("QXmlStream", "Premature end of document."))
        return;
    message = QStringLiteral("unexpected end of file");
    line = int(text.count(QLatin1Char('\n'))) + 1;
    column = int(text.size() - text.lastIndexOf(QLatin1Char('\n')));
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
    const QString text = textOf(xml);
    const QString excess = cXmlBounds(text).excess();
    if (!excess.isEmpty()) {
        document = QDomDocument();
        if (reason)
            *reason = excess;
        return false;
    }
    QString message;
    int line = 0;
    int column = 0;
    if (document.setContent(xml, hasNamespaces, &message, &line, &column) ||
        (isMisencoded(message) && document.setContent(text, hasNamespaces, &message, &line, &column)))
        return true;
    tellAlike(text, message, line, column);
    if (reason)
        *reason = QStringLiteral("line %1, column %2: %3").arg(QString::number(line), QString::number(column), message);
    return false;
}
