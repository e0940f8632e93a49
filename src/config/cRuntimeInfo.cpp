#include "config/cRuntimeInfo.h"

#include "config/cUpdateLocation.h"
#include "core/cXmlGuard.h"

#include <QtXml/QDomDocument>

bool cRuntimeInfo::readFrom(const QByteArray& xml, const cUpdateLocation& location, QString* reason)
{
    QDomDocument document;
    return cXmlGuard::readDom(xml, document, reason) && readFrom(document, location);
}

bool cRuntimeInfo::readFrom(const QDomNode& node, const cUpdateLocation& location)
{
    if (!node.isDocument())
        return false;
    const QString tag = QStringLiteral("runtime");
    for (QDomElement element = node.toDocument().documentElement().firstChildElement(tag); !element.isNull();
         element = element.nextSiblingElement(tag))
        readEntry(element, location);
    return true;
}

void cRuntimeInfo::readEntry(const QDomElement& element, const cUpdateLocation& location)
{
    const cVersion version(element.attribute(QStringLiteral("version")));
    // Of equal versions the first entry stays.
    if (!(m_version < version))
        return;
    m_version = version;
    m_name = element.attribute(QStringLiteral("name"));
    m_hash = QByteArray::fromHex(element.firstChildElement(QStringLiteral("hash")).text().toLatin1());
    m_source = location.resolve(element.firstChildElement(QStringLiteral("source")).text());
}

void cRuntimeInfo::onProgress(qint64 bytesSoFar, qint64 bytesTotal)
{
    emit progress(m_name, bytesSoFar, bytesTotal);
}
