#include "plugins/cManifestReader.h"

#include "core/cXmlGuard.h"
#include "plugins/cManifest.h"
#include "plugins/cPluginInstance.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonReader.h>

#include <QtXml/QDomDocument>
#include <QtXml/QDomElement>

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
    QDomDocument document;
    QString reason;
    if (!cXmlGuard::readDom(xml, document, &reason)) {
        m_errorString = QStringLiteral("%1, %2").arg(path, reason);
        return false;
    }
    const QString tag = QStringLiteral("plugin");
    for (QDomElement plugin = document.documentElement().firstChildElement(tag); !plugin.isNull();
         plugin = plugin.nextSiblingElement(tag)) {
        if (!readPlugin(plugin))
            return false;
    }
    return true;
}

bool cManifestReader::readPlugin(const QDomElement& plugin)
{
    readAttributes(plugin);
    for (QDomElement child = plugin.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        if (tag == QLatin1String("start") && !readStart(child))
            return false;
        if (tag == QLatin1String("services") && !readServices(child))
            return false;
        if (tag == QLatin1String("dependencies"))
            readDependencies(child);
        if (tag == QLatin1String("deployment"))
            readDeployment(child);
    }
    return true;
}

void cManifestReader::readAttributes(const QDomElement& plugin)
{
    // What one element has made an autoload plugin stays one.
    if (!m_manifest.autoload)
        m_manifest.autoload = plugin.attribute(QStringLiteral("autoload")) == QLatin1String("true");
    m_manifest.loadCategory = plugin.attribute(QStringLiteral("load_category"));
    m_manifest.apiVersion = plugin.attribute(QStringLiteral("api_version")).toInt();
    m_manifest.runtimeApiVersion = plugin.attribute(QStringLiteral("runtime_api_version")).toInt();
}

bool cManifestReader::readStart(const QDomElement& start)
{
    for (QDomElement child = start.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        if (child.tagName() == QLatin1String("library"))
            readLibrary(child);
        if (child.tagName() == QLatin1String("params") && !readParams(child))
            return false;
    }
    return true;
}

void cManifestReader::readLibrary(const QDomElement& library)
{
    m_manifest.libraryPath = m_plugin.folder() + QLatin1Char('/') + library.attribute(QStringLiteral("filename"));
    m_manifest.entryFunction = library.attribute(QStringLiteral("function"));
}

bool cManifestReader::readParams(const QDomElement& params)
{
    cJsonValue value;
    if (!cJsonReader::parse(params.text(), value))
        return failAt(params, QStringLiteral("the text of params is not a JSON document"));
    m_manifest.params = value;
    return true;
}

void cManifestReader::readDependencies(const QDomElement& dependencies)
{
    const QString tag = QStringLiteral("dependency");
    for (QDomElement child = dependencies.firstChildElement(tag); !child.isNull();
         child = child.nextSiblingElement(tag)) {
        const QString text = child.text();
        // Texts that begin with "Core:" name parts of the core, which are always there.
        if (!text.isEmpty() && !text.startsWith(QLatin1String("Core:")))
            m_manifest.dependencies.append(text);
    }
}

bool cManifestReader::readServices(const QDomElement& services)
{
    const QString tag = QStringLiteral("service");
    for (QDomElement child = services.firstChildElement(tag); !child.isNull(); child = child.nextSiblingElement(tag)) {
        const QString text = child.text();
        if (text.isEmpty())
            return failAt(child, QStringLiteral("a service is empty"));
        m_manifest.services.append(text);
    }
    return true;
}

void cManifestReader::readDeployment(const QDomElement& deployment)
{
    const QString builtFor = QStringLiteral("x64");
    if (deployment.attribute(QStringLiteral("platform"), builtFor) != builtFor)
        return;
    const auto readFirst = [&](const QString& tag, QList<cCmdLine>& target) {
        const QDomElement first = deployment.firstChildElement(tag).firstChildElement(QStringLiteral("cmdline"));
        if (!first.isNull())
            m_plugin.readCommandLines(first, target);
    };
    readFirst(QStringLiteral("install"), m_manifest.installCommandLines);
    readFirst(QStringLiteral("uninstall"), m_manifest.uninstallCommandLines);
}

bool cManifestReader::failAt(const QDomElement& element, const QString& reason)
{
    m_errorString = QStringLiteral("%1, line %2, column %3: %4")
                        .arg(m_path)
                        .arg(element.lineNumber())
                        .arg(element.columnNumber())
                        .arg(reason);
    return false;
}
