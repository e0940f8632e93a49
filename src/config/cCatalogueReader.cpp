#include "config/cCatalogueReader.h"

#include "config/cFeatureCatalogue.h"
#include "core/cXmlGuard.h"

#include <QtXml/QDomDocument>

cCatalogueReader::cCatalogueReader(cFeatureCatalogue& catalogue, const QSharedPointer<cUpdateLocation>& location)
    : m_catalogue(catalogue), m_location(location)
{
}

bool cCatalogueReader::read(const QByteArray& xml)
{
    QDomDocument document;
    return cXmlGuard::readDom(xml, document, &m_errorString) && read(document);
}

bool cCatalogueReader::read(const QDomNode& node)
{
    if (!node.isDocument()) {
        m_errorString = QStringLiteral("line 0, column 0: not a document");
        return false;
    }
    readRoot(node.toDocument().documentElement());
    return true;
}

void cCatalogueReader::readRoot(const QDomElement& root)
{
    m_repository = root.attribute(QStringLiteral("name"));
    m_catalogue.setName(m_repository);
    m_catalogue.setVersion(cVersion(root.attribute(QStringLiteral("version"))));
    const QString coreVersion = root.attribute(QStringLiteral("core_version"));
    if (coreVersion.isEmpty())
        m_catalogue.clearCoreVersion();
    else
        m_catalogue.setCoreVersion(cVersion(coreVersion));
    const QString tag = QStringLiteral("feature");
    for (QDomElement element = root.firstChildElement(tag); !element.isNull();
         element = element.nextSiblingElement(tag))
        readFeature(element);
}

void cCatalogueReader::readFeature(const QDomElement& element)
{
    const QString name = element.attribute(QStringLiteral("name"));
    const cVersion version(element.attribute(QStringLiteral("version")));
    QSharedPointer<cFeatureInstance> feature = m_catalogue.find(name, version);
    if (!feature) {
        const bool isActive = element.attribute(QStringLiteral("active")) == QLatin1String("true");
        const QString repository = element.attribute(QStringLiteral("repository"), m_repository);
        feature = QSharedPointer<cFeatureInstance>::create(name, version, isActive, repository);
        m_catalogue.append(feature);
    }
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        if (tag == QLatin1String("displayname"))
            readDisplayName(child, *feature);
        else if (tag == QLatin1String("dependencies"))
            readDependencies(child, *feature);
        else if (tag == QLatin1String("plugins"))
            readPlugins(child, *feature);
    }
}

void cCatalogueReader::readDisplayName(const QDomElement& element, cFeatureInstance& feature)
{
    feature.setDisplayName(element.attribute(QStringLiteral("lang"), QStringLiteral("en-us")), element.text());
}

void cCatalogueReader::readDependencies(const QDomElement& element, cFeatureInstance& feature)
{
    const QString tag = QStringLiteral("feature");
    for (QDomElement child = element.firstChildElement(tag); !child.isNull(); child = child.nextSiblingElement(tag))
        feature.addDependency(child.attribute(QStringLiteral("name")));
}

void cCatalogueReader::readPlugins(const QDomElement& element, cFeatureInstance& feature) const
{
    const QString tag = QStringLiteral("plugin");
    for (QDomElement child = element.firstChildElement(tag); !child.isNull(); child = child.nextSiblingElement(tag))
        readPlugin(child, feature);
}

void cCatalogueReader::readPlugin(const QDomElement& element, cFeatureInstance& feature) const
{
    const QString name = element.attribute(QStringLiteral("name"));
    const cVersion version(element.attribute(QStringLiteral("version")));
    QSharedPointer<cFeaturePlugin> plugin = feature.findPlugin(name, version);
    if (!plugin) {
        const quint32 size = element.attribute(QStringLiteral("size"), QStringLiteral("0")).toUInt();
        plugin = QSharedPointer<cFeaturePlugin>::create(name, version, size);
        feature.addPlugin(plugin);
    }
    readPackage(element, *plugin);
}

void cCatalogueReader::readPackage(const QDomElement& element, cFeaturePlugin& plugin) const
{
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        // A hash's `method` selects nothing: the digest is always SHA-1.
        if (child.tagName() == QLatin1String("source"))
            plugin.addSource({m_location, child.text()});
        else if (child.tagName() == QLatin1String("hash"))
            plugin.setHash(QByteArray::fromHex(child.text().toLatin1()));
    }
}
