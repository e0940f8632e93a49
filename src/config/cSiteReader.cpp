#include "config/cSiteReader.h"

#include "core/cXmlTreeReader.h"

bool cSiteReader::read(const QByteArray& xml)
{
    m_entries.clear();
    m_errorString.clear();
    cXmlTree tree;
    if (!cXmlTreeReader::read(xml, tree, &m_errorString))
        return false;
    for (cXmlElement element = tree.root().firstChild(u"repository"); !element.isNull();
         element = element.nextSibling(u"repository")) {
        cSiteEntry entry;
        entry.config = element.attribute(u"config");
        entry.status = element.attribute(u"status");
        entry.platform = element.attribute(u"platform");
        entry.update = element.attribute(u"update");
        entry.content = element.attribute(u"content");
        m_entries.append(entry);
    }
    return true;
}
