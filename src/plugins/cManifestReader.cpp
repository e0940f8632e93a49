#include "plugins/cManifestReader.h"

#include "core/Files.h"
#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonReader.h>

bool cManifestReader::readFile(const QString& path)
{
    QByteArray xml;
    QString cause;
    if (::readFile(path, xml, &cause))
        return read(xml, path);
    m_errorString = QStringLiteral("%1 is missing or cannot be read: %2").arg(path, cause);
    return false;
}

bool cManifestReader::read(const QByteArray& xml, const QString& path)
{
    m_path = path;
    cXmlTree tree;
    QString reason;
    if (!cXmlReader::read(xml, tree, &reason)) {
        m_errorString = QStringLiteral("%1, %2").arg(path, reason);
        return false;
    }
    ManifestRules::eachUnread(tree.root(), [this](const cXmlElement& element, bool, const QString& text) {
        m_warnings.append(placed(element, text));
    });
    const auto visit = [this](const ManifestRules::cRule& rule, const cXmlElement& element) {
        return readElement(rule, element);
    };
    return ManifestRules::walk(tree.root(), visit);
}

bool cManifestReader::readElement(const ManifestRules::cRule& rule, const cXmlElement& element)
{
    if (rule.name == u"plugin")
        readPlugin(element);
    else if (rule.name == u"library")
        readLibrary(element);
    else if (rule.name == u"params")
        return readParams(element.text()) || failAt(rule, element);
    else if (rule.name == u"dependency")
        readDependency(element.text());
    else if (rule.name == u"service")
        return readService(element.text()) || failAt(rule, element);
    else if (rule.name == u"install")
        m_commandLines = &m_manifest.installCommandLines;
    else if (rule.name == u"uninstall")
        m_commandLines = &m_manifest.uninstallCommandLines;
    else if (rule.name == u"cmdline")
        m_commandLines->append(readCommandLine(element));
    return true;
}

void cManifestReader::readPlugin(const cXmlElement& plugin)
{
    // What one element has made an autoload plugin stays one.
    if (!m_manifest.autoload)
        m_manifest.autoload = plugin.attribute(u"autoload") == QLatin1String("true");
    m_manifest.isIsolated = plugin.attribute(u"isolated") == QLatin1String("true");
    m_manifest.loadCategory = plugin.attribute(u"load_category");
    m_manifest.apiVersion = plugin.attribute(u"api_version").toInt();
    m_manifest.runtimeApiVersion = plugin.attribute(u"runtime_api_version").toInt();
}

void cManifestReader::readLibrary(const cXmlElement& library)
{
    m_manifest.libraryPath = m_folder + QLatin1Char('/') + library.attribute(u"filename");
    m_manifest.entryFunction = library.attribute(u"function");
}

bool cManifestReader::readParams(const QString& text)
{
    cJsonValue value;
    if (!cJsonReader::parse(text, value))
        return false;
    m_manifest.params = value;
    return true;
}

void cManifestReader::readDependency(const QString& text)
{
    if (ManifestRules::isPluginDependency(text))
        m_manifest.dependencies.append(text);
}

bool cManifestReader::readService(const QString& name)
{
    if (name.isEmpty())
        return false;
    m_manifest.services.append(name);
    return true;
}

cCmdLine cManifestReader::readCommandLine(const cXmlElement& line)
{
    QStringList params;
    for (cXmlElement param = line.firstChild(u"param"); !param.isNull(); param = param.nextSibling(u"param"))
        params.append(m_expander.expand(param.text()));
    return cCmdLine(m_expander.expand(line.attribute(u"program")), params, line.attribute(u"condition"));
}

QString cManifestReader::placed(const cXmlElement& element, const QString& text) const
{
    return QStringLiteral("%1, line %2, column %3: %4")
        .arg(m_path, QString::number(element.line()), QString::number(element.column()), text);
}

bool cManifestReader::failAt(const ManifestRules::cRule& rule, const cXmlElement& element)
{
    m_errorString = placed(element, rule.reason(element.text()));
    return false;
}
