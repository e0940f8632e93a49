#include "site/cRetiredList.h"

#include "config/cUpdateLocation.h"
#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "lint/InputFile.h"
#include "report/cFindings.h"

#include <QtCore/QFileInfo>
#include <QtCore/QXmlStreamWriter>

#include <algorithm>

namespace {

cPluginId idOf(const cXmlElement& element)
{
    return cPluginId(element.attribute(u"name"), cVersion(element.attribute(u"version")));
}

QDateTime timeOf(const cXmlElement& element, QStringView attribute)
{
    return QDateTime::fromString(element.attribute(attribute), Qt::ISODate).toUTC();
}

cRetired retiredOf(const cXmlElement& element)
{
    cRetired retired{idOf(element),          element.attribute(u"repository"), element.attribute(u"status"),
                     timeOf(element, u"on"), timeOf(element, u"until"),        {}};
    for (cXmlElement child = element.firstChild(u"plugin"); !child.isNull(); child = child.nextSibling(u"plugin")) {
        const QByteArray hash = QByteArray::fromHex(child.attribute(u"hash").toLatin1());
        retired.plugins.append({idOf(child), hash, child.attribute(u"file")});
    }
    return retired;
}

bool isOf(const cRetired& retired, const cSiteEntry& entry)
{
    return retired.repository == entry.update && retired.status == entry.status;
}

void writeId(QXmlStreamWriter& xml, const cPluginId& id)
{
    xml.writeAttribute(QStringLiteral("name"), id.name());
    xml.writeAttribute(QStringLiteral("version"), id.version().toString());
}

} // namespace

bool cRetiredList::read(const QString& site)
{
    m_list.clear();
    m_isChanged = false;
    const QString file = path(site);
    if (!QFileInfo::exists(file))
        return true;
    cFindings findings;
    QByteArray bytes;
    if (!readInputFile(file, LargestDocument, &bytes, findings)) {
        m_errorString = QStringLiteral("%1 cannot be read: %2").arg(file, findings.list().constFirst().text);
        return false;
    }
    cXmlTree tree;
    QString reason;
    if (!cXmlReader::read(bytes, tree, &reason)) {
        m_errorString = QStringLiteral("%1, %2").arg(file, reason);
        return false;
    }
    const cXmlElement root = tree.root();
    for (cXmlElement child = root.firstChild(u"feature"); !child.isNull(); child = child.nextSibling(u"feature"))
        m_list.append(retiredOf(child));
    return true;
}

void cRetiredList::add(const cRetired& retired)
{
    m_isChanged = true;
    const auto place = std::find_if(m_list.begin(), m_list.end(), [&](const cRetired& other) {
        return other.feature == retired.feature && other.repository == retired.repository &&
               other.status == retired.status;
    });
    if (place == m_list.end())
        m_list.append(retired);
    else
        *place = retired;
}

const cRetired* cRetiredList::find(const cSiteEntry& entry, const cPluginId& feature) const
{
    const auto place = std::find_if(m_list.begin(), m_list.end(), [&](const cRetired& retired) {
        return isOf(retired, entry) && retired.feature == feature;
    });
    return place == m_list.end() ? nullptr : &*place;
}

cVersion cRetiredList::newest(const cSiteEntry& entry, const QString& feature) const
{
    cVersion newest;
    for (const cRetired& retired : m_list) {
        if (isOf(retired, entry) && retired.feature.name() == feature && newest < retired.feature.version())
            newest = retired.feature.version();
    }
    return newest;
}

const cRetired::Plugin* cRetiredList::findPlugin(const cSiteEntry& entry, const cPluginId& plugin) const
{
    for (const cRetired& retired : m_list) {
        for (const cRetired::Plugin& other : retired.plugins) {
            if (isOf(retired, entry) && other.id == plugin)
                return &other;
        }
    }
    return nullptr;
}

QStringList cRetiredList::takeExpired(const QDateTime& now)
{
    QStringList files;
    for (cRetired& retired : m_list) {
        if (!retired.until.isValid() || now < retired.until)
            continue;
        for (cRetired::Plugin& plugin : retired.plugins) {
            if (!plugin.file.isEmpty())
                files.append(plugin.file);
            plugin.file.clear();
        }
    }
    return files;
}

QByteArray cRetiredList::xml() const
{
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("retired"));
    for (const cRetired& retired : m_list) {
        xml.writeStartElement(QStringLiteral("feature"));
        writeId(xml, retired.feature);
        xml.writeAttribute(QStringLiteral("repository"), retired.repository);
        xml.writeAttribute(QStringLiteral("status"), retired.status);
        xml.writeAttribute(QStringLiteral("on"), retired.on.toString(Qt::ISODate));
        xml.writeAttribute(QStringLiteral("until"), retired.until.toString(Qt::ISODate));
        for (const cRetired::Plugin& plugin : retired.plugins) {
            xml.writeStartElement(QStringLiteral("plugin"));
            writeId(xml, plugin.id);
            xml.writeAttribute(QStringLiteral("hash"), QString::fromLatin1(plugin.hash.toHex()));
            if (!plugin.file.isEmpty())
                xml.writeAttribute(QStringLiteral("file"), plugin.file);
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndDocument();
    return bytes;
}
