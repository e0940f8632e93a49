#include "site/RuntimeEntries.h"

#include "core/cXmlTreeReader.h"

QList<cRuntimeEntry> readRuntimeEntries(const QByteArray& xml)
{
    QList<cRuntimeEntry> entries;
    cXmlTree tree;
    if (!cXmlTreeReader::read(xml, tree, nullptr))
        return entries;
    for (cXmlElement element = tree.root().firstChild(u"runtime"); !element.isNull();
         element = element.nextSibling(u"runtime")) {
        cRuntimeEntry entry;
        entry.version = cVersion(element.attribute(u"version"));
        entry.name = element.attribute(u"name");
        entry.hash = QByteArray::fromHex(element.firstChild(u"hash").text().toLatin1());
        entry.source = element.firstChild(u"source").text();
        entries.append(entry);
    }
    return entries;
}
