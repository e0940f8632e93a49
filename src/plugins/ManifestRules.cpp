#include "plugins/ManifestRules.h"

#include "core/cXmlTree.h"
#include "plugins/cPluginDependency.h"
#include "version/Shown.h"
#include "version/cPluginId.h"

#include <Norvale/IPlugin.h>
#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <iterator>

using namespace ManifestRules;

namespace {

bool isFilled(const QString& text)
{
    return !text.isEmpty();
}

bool isNumber(const QString& text)
{
    bool isRead = false;
    text.toInt(&isRead);
    return isRead;
}

bool isVersion(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("\\A([0-9]+)\\.(?:([0-9]+)(?:\\.([0-9]+))?)?\\z"));
    const QRegularExpressionMatch match = form.match(text);
    bool isSound = match.hasMatch();
    for (int part = 1; part <= match.lastCapturedIndex(); ++part)
        isSound = isSound && isNumber(match.captured(part)); // greater ones come back negative
    return isSound;
}

bool isFlag(const QString& text)
{
    return text == QLatin1String("true") || text == QLatin1String("false");
}

bool isRuntimeApi(const QString& text)
{
    return text == QString::number(IPlugin::RuntimeApiVersion);
}

bool isJson(const QString& text)
{
    cJsonValue value;
    return cJsonReader::parse(text, value);
}

bool isDependency(const QString& text)
{
    if (!isPluginDependency(text))
        return !text.isEmpty();
    const QString name = cPluginDependency(text).name();
    return !name.isEmpty() && (name == text || isNumber(text.mid(name.size() + 1)));
}

constexpr QStringView BuiltFor = u"x64"; // on every system

bool isBuiltFor(const QString& platform)
{
    return platform == BuiltFor;
}

constexpr cText Any{"xs:string", nullptr, ""};
constexpr cText Name{"xs:string", isSafePackageName, "%1 \"%2\" cannot name a folder"};
constexpr cText Version{"Version", isVersion, "%1 \"%2\" is not of the form MAJOR.MINOR.BUILD"};
constexpr cText Flag{"TrueOrFalse", isFlag, "%1 \"%2\" counts as false"};
constexpr cText Number{"xs:int", isNumber, "%1 \"%2\" counts as 0"};
constexpr cText RuntimeApi{"xs:int", isRuntimeApi, "%1 is \"%2\", not %3", Breach::Start};
constexpr cText Filled{"NotEmpty", isFilled, "there is no %1"};
constexpr cText Service{"NotEmpty", isFilled, "a %1 has no name", Breach::Reading};
constexpr cText Json{"NotEmpty", isJson, "the text of %1 is no JSON document", Breach::Reading};
constexpr cText Dependency{"NotEmpty", isDependency, "%1 \"%2\" is neither NAME nor NAME:NUMBER"};
constexpr cText Platform{"xs:string", isBuiltFor, "a deployment for \"%2\" is never read"};

bool isIn(QStringView tag, const cRule& rule, bool isAttribute)
{
    return rule.in == tag && (rule.kind == cRule::Attribute) == isAttribute;
}

bool isKnown(QStringView name, bool isAttribute, QStringView tag)
{
    return std::any_of(std::begin(Table), std::end(Table),
                       [&](const cRule& rule) { return rule.name == name && isIn(tag, rule, isAttribute); });
}

QString textFor(QStringView name, bool isAttribute, QStringView ruleTag, QStringView tag)
{
    QStringList known;
    for (const cRule& rule : Table) {
        if (isIn(ruleTag, rule, isAttribute))
            known.append(rule.name.toString());
    }
    return unreadText(name.toString(), isAttribute, tag.toString(), known);
}

/// @p tag is the element's as the table has it.
void tellUnread(QStringView tag, const cXmlElement& element, const Unread& tell)
{
    for (int i = 0; i < element.attributeCount(); ++i) {
        const QStringView name = element.attributeName(i);
        if (!isKnown(name, true, tag) && !isOfXml(name))
            tell(element, true, textFor(name, true, tag, element.tag()));
    }
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (isKnown(child.tag(), false, tag))
            tellUnread(child.tag(), child, tell);
        else
            tell(child, false, textFor(child.tag(), false, tag, element.tag()));
    }
}

bool walkBelow(QStringView tag, const cXmlElement& element, const Visit& visit)
{
    unsigned met = 0; // a bit for each rule
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QStringView childTag = child.tag();
        const auto* const rule = std::find_if(std::begin(Table), std::end(Table), [&](const cRule& candidate) {
            return candidate.kind != cRule::Attribute && candidate.name == childTag && candidate.in == tag;
        });
        if (rule == std::end(Table))
            continue;
        const unsigned bit = 1u << (rule - Table);
        const bool isFurther = met & bit;
        met |= bit;
        if (rule->kind == cRule::FirstElement && isFurther)
            continue;
        if (!visit(*rule, child))
            return false;
        if (childTag == u"deployment" && !isBuiltFor(child.attribute(u"platform", BuiltFor.toString())))
            continue;
        if (!walkBelow(rule->name, child, visit))
            return false;
    }
    return true;
}

} // namespace

const cRule ManifestRules::Table[] = {
    {u"", u"plugin", nullptr},
    {u"plugin", u"name", &Name, cRule::Attribute},
    {u"plugin", u"version", &Version, cRule::Attribute},
    {u"plugin", u"autoload", &Flag, cRule::Attribute, u"false"},
    {u"plugin", u"load_category", &Any, cRule::Attribute, u""},
    {u"plugin", u"isolated", &Flag, cRule::Attribute, u"false"},
    {u"plugin", u"api_version", &Number, cRule::Attribute, u"0"},
    {u"plugin", u"runtime_api_version", &RuntimeApi, cRule::Attribute},
    {u"plugin", u"start", nullptr},
    {u"start", u"library", nullptr},
    {u"library", u"filename", &Filled, cRule::Attribute},
    {u"library", u"function", &Filled, cRule::Attribute},
    {u"start", u"params", &Json},
    {u"plugin", u"dependencies", nullptr},
    {u"dependencies", u"dependency", &Dependency},
    {u"plugin", u"services", nullptr},
    {u"services", u"service", &Service},
    {u"plugin", u"deployment", nullptr},
    {u"deployment", u"platform", &Platform, cRule::Attribute, BuiltFor},
    {u"deployment", u"install", nullptr, cRule::FirstElement},
    {u"deployment", u"uninstall", nullptr, cRule::FirstElement},
    {u"install", u"cmdline", nullptr},
    {u"uninstall", u"cmdline", nullptr},
    {u"cmdline", u"program", &Filled, cRule::Attribute},
    {u"cmdline", u"condition", &Any, cRule::Attribute, u""},
    {u"cmdline", u"param", &Any},
};

QString cRule::reason(const QString& written) const
{
    if (!text || !text->isSound || text->isSound(written))
        return QString();
    return QString(QLatin1String(text->reason))
        .replace(QLatin1String("%1"), name.toString())
        .replace(QLatin1String("%3"), QString::number(IPlugin::RuntimeApiVersion))
        .replace(QLatin1String("%2"), written);
}

bool ManifestRules::walk(const cXmlElement& root, const Visit& visit)
{
    return walkBelow(u"", root, visit);
}

void ManifestRules::eachUnread(const cXmlElement& root, const Unread& tell)
{
    tellUnread(u"", root, tell);
}

QString ManifestRules::unreadText(const QString& name, bool isAttribute, const QString& tag, const QStringList& known)
{
    const QString meant = nearestName(name, known);
    const QString text = isAttribute ? QStringLiteral("the attribute \"%1\" of <%2> is not read")
                                     : QStringLiteral("<%1> in <%2> is not read");
    return text.arg(name, tag) + (meant.isEmpty() ? QString() : QStringLiteral("; is \"%1\" meant?").arg(meant));
}

bool ManifestRules::isOfXml(QStringView attribute)
{
    return attribute.startsWith(QLatin1String("xml")) || attribute.contains(QLatin1Char(':'));
}

QString ManifestRules::versionReason(const QString& text)
{
    return cRule{u"", u"version", &Version}.reason(text);
}

bool ManifestRules::isPluginDependency(const QString& text)
{
    return !text.isEmpty() && !text.startsWith(QLatin1String("Core:"));
}
