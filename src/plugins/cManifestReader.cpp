#include "plugins/cManifestReader.h"

#include "core/cXmlTreeReader.h"
#include "plugins/cManifest.h"
#include "plugins/cPluginInstance.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonReader.h>

bool cManifestReader::readFile(const QString& path)
{
    bool isRead = false;
    const QByteArray xml = Corvane::FileReadAll(path, &isRead);
    if (isRead)
        return read(xml, path);
    m_errorString = QStringLiteral("%1 is missing or cannot be read").arg(path);
    return false;
}

bool cManifestReader::read(const QByteArray& xml, const QString& path)
{
    m_path = path;
    cXmlTree tree;
    QString reason;
    if (!cXmlTreeReader::read(xml, tree, &reason)) {
        m_errorString = QStringLiteral("%1, %2").arg(path, reason);
        return false;
    }
    for (cXmlElement plugin = tree.root().firstChild(u"plugin"); !plugin.isNull();
         plugin = plugin.nextSibling(u"plugin")) {
        if (!readPlugin(plugin))
            return false;
    }
    return true;
}

bool cManifestReader::readPlugin(const cXmlElement& plugin)
{
    readAttributes(plugin);
    for (cXmlElement child = plugin.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QStringView tag = child.tag();
        if (tag == u"start" && !readStart(child))
            return false;
        if (tag == u"services" && !readServices(child))
            return false;
        if (tag == u"dependencies")
            readDependencies(child);
        if (tag == u"deployment")
            readDeployment(child);
    }
    return true;
}

void cManifestReader::readAttributes(const cXmlElement& plugin)
{
    // What one element has made an autoload plugin stays one.
    if (!m_manifest.autoload)
        m_manifest.autoload = plugin.attribute(u"autoload") == QLatin1String("true");
    m_manifest.loadCategory = plugin.attribute(u"load_category");
    m_manifest.apiVersion = plugin.attribute(u"api_version").toInt();
    m_manifest.runtimeApiVersion = plugin.attribute(u"runtime_api_version").toInt();
}

bool cManifestReader::readStart(const cXmlElement& start)
{
    for (cXmlElement child = start.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.tag() == u"library")
            readLibrary(child);
        if (child.tag() == u"params" && !readParams(child))
            return false;
    }
    return true;
}

void cManifestReader::readLibrary(const cXmlElement& library)
{
    m_manifest.libraryPath = m_plugin.folder() + QLatin1Char('/') + library.attribute(u"filename");
    m_manifest.entryFunction = library.attribute(u"function");
}

bool cManifestReader::readParams(const cXmlElement& params)
{
    cJsonValue value;
    if (!cJsonReader::parse(params.text(), value))
        return failAt(params, QStringLiteral("the text of params is not a JSON document"));
    m_manifest.params = value;
    return true;
}

void cManifestReader::readDependencies(const cXmlElement& dependencies)
{
    for (cXmlElement child = dependencies.firstChild(u"dependency"); !child.isNull();
         child = child.nextSibling(u"dependency")) {
        const QString text = child.text();
        // Texts that begin with "Core:" name parts of the core, which are always there.
        if (!text.isEmpty() && !text.startsWith(QLatin1String("Core:")))
            m_manifest.dependencies.append(text);
    }
}

bool cManifestReader::readServices(const cXmlElement& services)
{
    for (cXmlElement child = services.firstChild(u"service"); !child.isNull(); child = child.nextSibling(u"service")) {
        const QString text = child.text();
        if (text.isEmpty())
            return failAt(child, QStringLiteral("a service is empty"));
        m_manifest.services.append(text);
    }
    return true;
}

void cManifestReader::readDeployment(const cXmlElement& deployment)
{
    const QString builtFor = QStringLiteral("x64");
    if (deployment.attribute(u"platform", builtFor) != builtFor)
        return;
    const auto readFirst = [&](QStringView tag, QList<cCmdLine>& target) {
        const cXmlElement first = deployment.firstChild(tag).firstChild(u"cmdline");
        if (!first.isNull())
            m_plugin.readCommandLines(first, target);
    };
    readFirst(u"install", m_manifest.installCommandLines);
    readFirst(u"uninstall", m_manifest.uninstallCommandLines);
}

bool cManifestReader::failAt(const cXmlElement& element, const QString& reason)
{
    m_errorString =
        QStringLiteral("%1, line %2, column %3: %4").arg(m_path).arg(element.line()).arg(element.column()).arg(reason);
    return false;
}
