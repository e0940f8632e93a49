#include "config/cCatalogueReader.h"

#include "config/cFeatureCatalogue.h"
#include "core/cXmlTreeReader.h"

cCatalogueReader::cCatalogueReader(cFeatureCatalogue& catalogue, const QSharedPointer<cUpdateLocation>& location)
    : m_catalogue(catalogue), m_location(location)
{
}

bool cCatalogueReader::read(const QByteArray& xml)
{
    cXmlTree tree;
    return cXmlTreeReader::read(xml, tree, &m_errorString) && read(tree);
}

bool cCatalogueReader::read(const cXmlTree& tree)
{
    if (tree.root().isNull()) {
        m_errorString = QStringLiteral("line 0, column 0: not a document");
        return false;
    }
    readRoot(tree.root());
    return true;
}

void cCatalogueReader::readRoot(const cXmlElement& root)
{
    m_repository = root.attribute(u"name");
    m_catalogue.setName(m_repository);
    m_catalogue.setVersion(cVersion(root.attribute(u"version")));
    const QString coreVersion = root.attribute(u"core_version");
    if (coreVersion.isEmpty())
        m_catalogue.clearCoreVersion();
    else
        m_catalogue.setCoreVersion(cVersion(coreVersion));
    for (cXmlElement element = root.firstChild(); !element.isNull(); element = element.nextSibling()) {
        if (element.tag() == u"feature")
            readFeature(element);
        else if (element.tag() == u"runtime")
            readRuntime(element);
    }
}

void cCatalogueReader::readRuntime(const cXmlElement& element)
{
    cRuntimeEntry runtime;
    runtime.version = cVersion(element.attribute(u"version"));
    runtime.name = element.attribute(u"name");
    runtime.hash = QByteArray::fromHex(element.firstChild(u"hash").text().toLatin1());
    runtime.source = element.firstChild(u"source").text();
    m_catalogue.append(runtime);
}

void cCatalogueReader::readFeature(const cXmlElement& element)
{
    const QString name = element.attribute(u"name");
    const cVersion version(element.attribute(u"version"));
    QSharedPointer<cFeatureInstance> feature = m_catalogue.find(name, version);
    if (!feature) {
        const bool isActive = element.attribute(u"active") == QLatin1String("true");
        const QString repository = element.attribute(u"repository", m_repository);
        feature = QSharedPointer<cFeatureInstance>::create(name, version, isActive, repository);
        m_catalogue.append(feature);
    }
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.tag() == u"displayname")
            readDisplayName(child, *feature);
        else if (child.tag() == u"dependencies")
            readDependencies(child, *feature);
        else if (child.tag() == u"plugins")
            readPlugins(child, *feature);
    }
}

void cCatalogueReader::readDisplayName(const cXmlElement& element, cFeatureInstance& feature)
{
    // A few languages name many features.
    const QString language = *m_languages.insert(element.attribute(u"lang", QStringLiteral("en-us")));
    feature.setDisplayName(language, element.text());
}

void cCatalogueReader::readDependencies(const cXmlElement& element, cFeatureInstance& feature)
{
    for (cXmlElement child = element.firstChild(u"feature"); !child.isNull(); child = child.nextSibling(u"feature"))
        feature.addDependency(child.attribute(u"name"));
}

void cCatalogueReader::readPlugins(const cXmlElement& element, cFeatureInstance& feature) const
{
    for (cXmlElement child = element.firstChild(u"plugin"); !child.isNull(); child = child.nextSibling(u"plugin"))
        readPlugin(child, feature);
}

void cCatalogueReader::readPlugin(const cXmlElement& element, cFeatureInstance& feature) const
{
    const cPluginId id(element.attribute(u"name"), cVersion(element.attribute(u"version")));
    QSharedPointer<cFeaturePlugin> plugin = feature.findPlugin(id);
    if (!plugin) {
        plugin = QSharedPointer<cFeaturePlugin>::create(id, element.attribute(u"size").toUInt());
        feature.addPlugin(plugin);
    }
    readPackage(element, *plugin);
}

void cCatalogueReader::readPackage(const cXmlElement& element, cFeaturePlugin& plugin) const
{
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        // A hash's `method` selects nothing: the digest is always SHA-1.
        if (child.tag() == u"source")
            plugin.addSource({m_location, child.text()});
        else if (child.tag() == u"hash")
            plugin.setHash(QByteArray::fromHex(child.text().toLatin1()));
    }
}
