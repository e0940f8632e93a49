#include "lint/cManifestLint.h"

#include "version/SafeName.h"
#include "install/cConditionEngine.h"
#include "lint/cGrammar.h"
#include "plugins/cManifest.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginDependency.h"
#include "plugins/cPluginInstance.h"
#include "report/cFindings.h"

#include <Norvale/cJsonReader.h>

#include <QtCore/QElapsedTimer>

namespace {

// The manifest of the framework that this program belongs to; any other number fails the whole start.
const QString RuntimeApiVersion = QStringLiteral("13");

const cGrammar& grammar()
{
    static const cGrammar known{
        {"", "", "plugin"},
        {"plugin", "name version autoload load_category api_version runtime_api_version",
         "start dependencies services deployment"},
        {"plugin/start", "", "library params"},
        {"plugin/start/library", "filename function", ""},
        {"plugin/dependencies", "", "dependency"},
        {"plugin/services", "", "service"},
        {"plugin/deployment", "platform", "install uninstall"},
        {"plugin/deployment/install", "", "cmdline"},
        {"plugin/deployment/install/cmdline", "program condition", "param"},
        {"plugin/deployment/uninstall", "", "cmdline"},
        {"plugin/deployment/uninstall/cmdline", "program condition", "param"},
    };
    return known;
}

} // namespace

bool cManifestLint::check(const QByteArray& xml)
{
    const int before = findings().count(Severity::Error);
    if (!readTree(xml, grammar()))
        return false;
    const cXmlElement first = tree().root().firstChild(u"plugin");
    if (first.isNull())
        return report(Rule::ManifestNoPlugin, tree().root(), QStringLiteral("there is no <plugin>")), false;
    m_name = first.attribute(u"name");
    m_version = cVersion(first.attribute(u"version"));
    for (cXmlElement plugin = first; !plugin.isNull(); plugin = plugin.nextSibling(u"plugin"))
        checkPlugin(plugin);
    if (!m_hasLibrary)
        report(Rule::ManifestNoLibrary, first, QStringLiteral("no <library>: the plugin cannot be loaded"));
    QString reason;
    if (findings().count(Severity::Error) == before && !read(xml, file(), &reason))
        findings().add(Rule::ManifestUnreadable, file(), reason);
    return true;
}

std::optional<cManifest> cManifestLint::read(const QByteArray& xml, const QString& file, QString* reason)
{
    cPluginInstance plugin{QString(), cVersion()};
    cManifest manifest;
    cManifestReader reader(plugin, manifest);
    if (reader.read(xml, file))
        return manifest;
    if (reason)
        *reason = reader.errorString();
    return std::nullopt;
}

void cManifestLint::checkPlugin(const cXmlElement& plugin)
{
    checkAttributes(plugin);
    for (cXmlElement child = plugin.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QStringView tag = child.tag();
        if (tag == u"start")
            checkStart(child);
        else if (tag == u"services")
            checkServices(child);
        else if (tag == u"dependencies")
            checkDependencies(child);
        else if (tag == u"deployment")
            checkDeployment(child);
    }
}

void cManifestLint::checkAttributes(const cXmlElement& plugin)
{
    const QString name = plugin.attribute(u"name");
    if (name.isEmpty())
        report(Rule::ManifestBadName, plugin, QStringLiteral("the plugin has no name"));
    else if (!isSafeFileName(name))
        report(Rule::ManifestBadName, plugin, QStringLiteral("\"%1\" cannot name a folder").arg(name));
    checkVersion(Rule::ManifestBadVersion, plugin, u"version");
    const QString runtimeApi = plugin.attribute(u"runtime_api_version");
    if (runtimeApi != RuntimeApiVersion)
        report(Rule::ManifestBadRuntimeApi, plugin,
               QStringLiteral("runtime_api_version is \"%1\", not %2").arg(runtimeApi, RuntimeApiVersion));
    const QString api = plugin.attribute(u"api_version", QStringLiteral("0"));
    bool isNumber = false;
    api.toInt(&isNumber);
    if (!isNumber)
        report(Rule::ManifestBadNumber, plugin, QStringLiteral("api_version \"%1\" counts as 0").arg(api));
    const QString autoload = plugin.attribute(u"autoload", QStringLiteral("false"));
    if (autoload != QLatin1String("true") && autoload != QLatin1String("false"))
        report(Rule::ManifestBadAutoload, plugin, QStringLiteral("autoload \"%1\" counts as false").arg(autoload));
}

void cManifestLint::checkStart(const cXmlElement& start)
{
    for (cXmlElement child = start.firstChild(); !child.isNull(); child = child.nextSibling()) {
        cJsonValue value;
        if (child.tag() == u"library")
            checkLibrary(child);
        else if (child.tag() == u"params" && !cJsonReader::parse(child.text(), value))
            report(Rule::ManifestBadParams, child, QStringLiteral("the text is no JSON document"));
    }
}

void cManifestLint::checkLibrary(const cXmlElement& library)
{
    m_hasLibrary = true;
    const QString name = library.attribute(u"filename");
    if (name.isEmpty() || library.attribute(u"function").isEmpty())
        return report(Rule::ManifestBadLibrary, library, QStringLiteral("filename or function is missing"));
    // A package may be meant for the other system.
    if (m_neighbours && !m_neighbours->contains(name + QLatin1String(".so")) &&
        !m_neighbours->contains(name + QLatin1String(".dll")))
        report(Rule::ManifestLibraryMissing, library, QStringLiteral("there is no %1.so and no %1.dll").arg(name));
}

void cManifestLint::checkServices(const cXmlElement& services)
{
    for (cXmlElement child = services.firstChild(u"service"); !child.isNull(); child = child.nextSibling(u"service")) {
        const QString name = child.text();
        if (name.isEmpty())
            report(Rule::ManifestEmptyService, child, QStringLiteral("a service has no name"));
        else if (m_services.contains(name))
            report(Rule::ManifestServiceTwice, child, QStringLiteral("the service \"%1\" comes twice").arg(name));
        m_services.insert(name);
    }
}

void cManifestLint::checkDependencies(const cXmlElement& dependencies)
{
    for (cXmlElement child = dependencies.firstChild(u"dependency"); !child.isNull();
         child = child.nextSibling(u"dependency"))
        checkDependency(child);
}

void cManifestLint::checkDependency(const cXmlElement& dependency)
{
    const QString text = dependency.text();
    if (text.startsWith(QLatin1String("Core:")))
        return;
    const QString name = cPluginDependency(text).name();
    bool isNumber = true;
    if (text.contains(QLatin1Char(':')))
        text.mid(name.size() + 1).toInt(&isNumber);
    if (name.isEmpty() || !isNumber)
        report(Rule::ManifestBadDependency, dependency,
               QStringLiteral("\"%1\" is neither NAME nor NAME:NUMBER").arg(text));
    else if (name == m_name)
        report(Rule::ManifestOwnDependency, dependency, QStringLiteral("%1 depends on itself").arg(name));
    else if (m_dependencies.contains(name))
        report(Rule::ManifestDependencyTwice, dependency, QStringLiteral("%1 is named twice").arg(name));
    m_dependencies.insert(name);
}

void cManifestLint::checkDeployment(const cXmlElement& deployment)
{
    const QString platform = deployment.attribute(u"platform", QStringLiteral("x64"));
    if (platform != QLatin1String("x64"))
        return report(Rule::ManifestOtherPlatform, deployment,
                      QStringLiteral("a deployment for \"%1\" is never read").arg(platform));
    for (const QStringView tag : {QStringView(u"install"), QStringView(u"uninstall")}) {
        const cXmlElement list = deployment.firstChild(tag);
        const cXmlElement second = list.nextSibling(tag);
        if (!second.isNull())
            report(Rule::ManifestSecondList, second, QStringLiteral("a second <%1> is never read").arg(tag.toString()));
        for (cXmlElement line = list.firstChild(u"cmdline"); !line.isNull(); line = line.nextSibling(u"cmdline"))
            checkCommandLine(line);
    }
}

void cManifestLint::checkCommandLine(const cXmlElement& line)
{
    const QString program = line.attribute(u"program");
    if (program.isEmpty())
        report(Rule::ManifestNoProgram, line, QStringLiteral("a command line has no program"));
    checkVariables(line, program);
    checkCondition(line, line.attribute(u"condition"));
    for (cXmlElement param = line.firstChild(u"param"); !param.isNull(); param = param.nextSibling(u"param"))
        checkVariables(param, param.text());
}

void cManifestLint::checkCondition(const cXmlElement& line, const QString& condition)
{
    // One that never ends is stopped after seconds; a folder full of them is not waited for.
    static bool hasStalled = false;
    if (condition.isEmpty() || hasStalled)
        return;
    QElapsedTimer timer;
    timer.start();
    cConditionEngine engine;
    engine.isTrue(condition);
    hasStalled = timer.hasExpired(cConditionEngine::DefaultTimeLimit);
    if (!engine.errorString().isEmpty())
        report(Rule::ManifestBadCondition, line,
               QStringLiteral("\"%1\" counts as false: %2").arg(condition, engine.errorString()));
}

void cManifestLint::checkVariables(const cXmlElement& element, const QString& text)
{
    static const QStringList known{QStringLiteral("PluginDir"), QStringLiteral("PluginName"),
                                   QStringLiteral("PluginVersion")};
    const QString opener = QStringLiteral("$(");
    for (int at = text.indexOf(opener); at >= 0; at = text.indexOf(opener, at + opener.size())) {
        const int end = text.indexOf(QLatin1Char(')'), at);
        const QString name = text.mid(at + opener.size(), end < 0 ? -1 : end - at - opener.size());
        const bool isEnvironment = name.startsWith(QLatin1String("env.")) && name.size() > 4;
        if (end < 0 || (!isEnvironment && !known.contains(name)))
            report(Rule::ManifestBadVariable, element,
                   QStringLiteral("\"%1\" is not replaced").arg(text.mid(at, end < 0 ? -1 : end + 1 - at)));
    }
}
