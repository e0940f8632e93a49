#include "config/cSiteReader.h"

#include "core/cXmlGuard.h"

#include <QtXml/QDomDocument>

bool cSiteReader::read(const QByteArray& xml)
{
    m_entries.clear();
    m_errorString.clear();
    QDomDocument document;
    if (!cXmlGuard::readDom(xml, document, &m_errorString))
        return false;
    const QString tag = QStringLiteral("repository");
    for (QDomElement element = document.documentElement().firstChildElement(tag); !element.isNull();
         element = element.nextSiblingElement(tag)) {
        cSiteEntry entry;
        entry.config = element.attribute(QStringLiteral("config"));
        entry.status = element.attribute(QStringLiteral("status"));
        entry.platform = element.attribute(QStringLiteral("platform"));
        entry.update = element.attribute(QStringLiteral("update"));
        entry.content = element.attribute(QStringLiteral("content"));
        m_entries.append(entry);
    }
    return true;
}
