#include "config/cRuntimeInfo.h"

#include "config/cUpdateLocation.h"
#include "core/cXmlTreeReader.h"

bool cRuntimeInfo::readFrom(const QByteArray& xml, const cUpdateLocation& location, QString* reason)
{
    cXmlTree tree;
    return cXmlTreeReader::read(xml, tree, reason) && readFrom(tree, location);
}

bool cRuntimeInfo::readFrom(const cXmlTree& tree, const cUpdateLocation& location)
{
    const cXmlElement root = tree.root();
    for (cXmlElement element = root.firstChild(u"runtime"); !element.isNull();
         element = element.nextSibling(u"runtime"))
        readEntry(element, location);
    return !root.isNull();
}

void cRuntimeInfo::readEntry(const cXmlElement& element, const cUpdateLocation& location)
{
    const cVersion version(element.attribute(u"version"));
    // Of equal versions the first entry stays.
    if (!(m_version < version))
        return;
    m_version = version;
    m_name = element.attribute(u"name");
    m_hash = QByteArray::fromHex(element.firstChild(u"hash").text().toLatin1());
    m_source = location.resolve(element.firstChild(u"source").text());
}

void cRuntimeInfo::onProgress(qint64 bytesSoFar, qint64 bytesTotal)
{
    emit progress(m_name, bytesSoFar, bytesTotal);
}
