#include "lint/cManifestLint.h"

#include "install/cConditionEngine.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginDependency.h"
#include "report/cFindings.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QHash>

#include <algorithm>

using ManifestRules::cRule;

namespace {

/// The rule that is broken where the text of this attribute or element is not sound.
Rule ruleOf(QStringView name)
{
    static const QHash<QStringView, Rule> rules{
        {u"name", Rule::ManifestBadName},          {u"version", Rule::ManifestBadVersion},
        {u"autoload", Rule::ManifestBadAutoload},  {u"isolated", Rule::ManifestBadIsolated},
        {u"api_version", Rule::ManifestBadNumber}, {u"runtime_api_version", Rule::ManifestBadRuntimeApi},
        {u"filename", Rule::ManifestBadLibrary},   {u"function", Rule::ManifestBadLibrary},
        {u"params", Rule::ManifestBadParams},      {u"dependency", Rule::ManifestBadDependency},
        {u"service", Rule::ManifestEmptyService},  {u"platform", Rule::ManifestOtherPlatform},
        {u"program", Rule::ManifestNoProgram},
    };
    return rules.value(name, Rule::ManifestUnreadable);
}

} // namespace

bool cManifestLint::check(const QByteArray& xml)
{
    if (!readTree(xml))
        return false;
    ManifestRules::eachUnread(tree().root(), [this](const cXmlElement& element, bool isAttribute, const QString& text) {
        reportUnread(element, isAttribute, text);
    });
    const cXmlElement first = tree().root().firstChild(u"plugin");
    if (first.isNull())
        return report(Rule::ManifestNoPlugin, tree().root(), QStringLiteral("there is no <plugin>")), false;
    m_id = cPluginId(first.attribute(u"name"), cVersion(first.attribute(u"version")));
    ManifestRules::walk(tree().root(), [this](const cRule& rule, const cXmlElement& element) {
        checkElement(rule, element);
        return true;
    });
    if (!m_hasLibrary)
        checkNoLibrary(first);
    QString reason;
    if (!m_isRefused && !read(xml, file(), &reason))
        findings().add(Rule::ManifestUnreadable, file(), reason);
    return true;
}

std::optional<cManifest> cManifestLint::read(const QByteArray& xml, const QString& file, QString* reason)
{
    cManifest manifest;
    cManifestReader reader(cPluginId(), QString(), manifest);
    if (reader.read(xml, file))
        return manifest;
    if (reason)
        *reason = reader.errorString();
    return std::nullopt;
}

void cManifestLint::checkElement(const cRule& rule, const cXmlElement& element)
{
    for (const cRule& attribute : ManifestRules::Table) {
        if (attribute.kind == cRule::Attribute && attribute.in == rule.name)
            checkText(attribute, element.attribute(attribute.name, attribute.absent.toString()), element);
    }
    if (rule.text)
        checkText(rule, element.text(), element);
    if (rule.name == u"plugin")
        checkBuiltPlugin(element);
    else if (rule.name == u"library")
        checkLibrary(element);
    else if (rule.name == u"params")
        checkParams(element);
    else if (rule.name == u"service")
        checkService(element);
    else if (rule.name == u"dependency")
        checkDependency(element);
    else if (rule.kind == cRule::FirstElement)
        checkSecond(rule.name, element.nextSibling(rule.name));
}

void cManifestLint::checkText(const cRule& rule, const QString& text, const cXmlElement& element)
{
    const QString reason = rule.reason(text);
    if (!reason.isEmpty()) {
        report(ruleOf(rule.name), element, reason);
        m_isRefused = m_isRefused || rule.text->breach == ManifestRules::Breach::Reading;
    }
    if (rule.name == u"condition")
        checkCondition(element, text);
    if (rule.name == u"program" || rule.name == u"param") {
        for (const QString& variable : cVariableExpander::unknownVariables(text))
            report(Rule::ManifestBadVariable, element, QStringLiteral("\"%1\" is not replaced").arg(variable));
    }
}

void cManifestLint::checkBuiltPlugin(const cXmlElement& plugin)
{
    const cPluginId id(plugin.attribute(u"name"), cVersion(plugin.attribute(u"version")));
    if (m_built && id != m_built->id) {
        report(
            Rule::FolderIdentity, plugin,
            QStringLiteral("the manifest is that of %1, and %2 is built").arg(id.toString(), m_built->id.toString()));
    }
}

// The document is taken for Latin-1, a byte for each character.
void cManifestLint::checkParams(const cXmlElement& params)
{
    const QString text = params.text();
    const auto lost = std::find_if(text.begin(), text.end(), [](QChar c) { return c.unicode() > 0xff; });
    if (lost != text.end()) {
        report(Rule::ManifestLossyParams, params,
               QStringLiteral("a character is read as \"?\", write it as \\u%1")
                   .arg(lost->unicode(), 4, 16, QLatin1Char('0')));
    }
}

void cManifestLint::checkLibrary(const cXmlElement& library)
{
    m_hasLibrary = true;
    const QString name = library.attribute(u"filename");
    const QString function = library.attribute(u"function");
    if (m_built && !name.isEmpty() && name != m_built->id.name()) {
        report(Rule::ManifestLibraryMissing, library,
               QStringLiteral("the library is \"%1\", and \"%2\" is built").arg(name, m_built->id.name()));
    }
    if (m_built && !m_built->entryFunction.isEmpty() && !function.isEmpty() && function != m_built->entryFunction) {
        report(Rule::ManifestBadLibrary, library,
               QStringLiteral("the function is \"%1\", and \"%2\" is built").arg(function, m_built->entryFunction));
    }
    // A package may be meant for the other system.
    if (m_neighbours && !name.isEmpty() && !m_neighbours->contains(name + QLatin1String(".so")) &&
        !m_neighbours->contains(name + QLatin1String(".dll")))
        report(Rule::ManifestLibraryMissing, library, QStringLiteral("there is no %1.so and no %1.dll").arg(name));
}

void cManifestLint::checkNoLibrary(const cXmlElement& plugin)
{
    if (m_built) {
        report(Rule::ManifestLibraryMissing, plugin,
               QStringLiteral("there is no <library>, and \"%1\" is built").arg(m_built->id.name()));
    } else {
        report(Rule::ManifestNoLibrary, plugin, QStringLiteral("no <library>: the plugin cannot be loaded"));
    }
}

void cManifestLint::checkService(const cXmlElement& service)
{
    const QString name = service.text();
    if (!name.isEmpty() && m_services.contains(name))
        report(Rule::ManifestServiceTwice, service, QStringLiteral("the service \"%1\" comes twice").arg(name));
    m_services.insert(name);
}

void cManifestLint::checkDependency(const cXmlElement& dependency)
{
    if (!ManifestRules::isPluginDependency(dependency.text()))
        return;
    const QString name = cPluginDependency(dependency.text()).name();
    if (name.isEmpty())
        return;
    if (name == m_id.name())
        report(Rule::ManifestOwnDependency, dependency, QStringLiteral("\"%1\" depends on itself").arg(name));
    else if (m_dependencies.contains(name))
        report(Rule::ManifestDependencyTwice, dependency, QStringLiteral("\"%1\" is named twice").arg(name));
    m_dependencies.insert(name);
}

void cManifestLint::checkSecond(QStringView tag, const cXmlElement& second)
{
    if (!second.isNull())
        report(Rule::ManifestSecondList, second, QStringLiteral("a second <%1> is never read").arg(tag.toString()));
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
    if (!engine.errorString().isEmpty()) {
        report(Rule::ManifestBadCondition, line,
               QStringLiteral("\"%1\" counts as false: %2").arg(condition, engine.errorString()));
    }
}
