#include "core/cXmlGuard.h"

#include "core/cXmlBounds.h"

#include <QtXml/QDomDocument>
#include <QtXml/QXmlInputSource>

#include <new>

namespace {

// The document's text as QDomDocument::setContent() decodes it. Qt 6 has no such class: this is the seam.
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
QString textOf(const QByteArray& xml)
{
    QXmlInputSource source;
    source.setData(xml);
    return source.data();
}
QT_WARNING_POP

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
