#include "lint/cCatalogueLint.h"

#include "config/ReleaseNotes.h"
#include "config/cFeatureCatalogue.h"
#include "report/cFindings.h"
#include "version/cPluginId.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

namespace {

const cGrammar& grammar()
{
    static const cGrammar known{
        {"", {"@name", "@version", "@core_version", "feature", "runtime"}},
        {"feature", {"@name", "@version", "@active", "@repository", "displayname", "notes", "dependencies", "plugins"}},
        {"feature/displayname", {"@lang"}},
        {"feature/notes", {"@version", "@lang"}},
        {"feature/dependencies", {"feature"}},
        {"feature/dependencies/feature", {"@name"}},
        {"feature/plugins", {"plugin"}},
        {"feature/plugins/plugin", {"@name", "@version", "@size", "source", "hash", "delta"}},
        {"feature/plugins/plugin/delta", {"@from", "@size", "@hash"}},
        {"feature/plugins/plugin/hash", {"@method"}},
        {"runtime", {"@version", "@name", "hash", "source"}},
        {"runtime/hash", {"@method"}},
    };
    return known;
}

bool isSha1(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("\\A[0-9a-fA-F]{40}\\z"));
    return form.match(text).hasMatch();
}

/// What the reader takes: the last hash of a plugin counts.
cXmlElement lastChild(const cXmlElement& parent, QStringView tag)
{
    cXmlElement last;
    for (cXmlElement child = parent.firstChild(tag); !child.isNull(); child = child.nextSibling(tag))
        last = child;
    return last;
}

} // namespace

cCatalogueLint::cCatalogueLint(Kind kind, const QString& file, cFindings& findings)
    : cXmlLint(file, findings), m_kind(kind)
{
}

bool cCatalogueLint::check(const QByteArray& xml)
{
    if (!readTree(xml, grammar()))
        return false;
    checkRoot();
    const cXmlElement root = tree().root();
    for (cXmlElement child = root.firstChild(u"feature"); !child.isNull(); child = child.nextSibling(u"feature"))
        checkFeature(child);
    if (m_kind == Kind::Features && !m_features.contains(QStringLiteral("Core")))
        report(Rule::SuiteNoCore, root, QStringLiteral("the feature \"Core\" is not installed"));
    if (m_kind == Kind::Repository) {
        checkDependencies();
        for (cXmlElement child = root.firstChild(u"runtime"); !child.isNull(); child = child.nextSibling(u"runtime"))
            checkRuntime(child);
    }
    return true;
}

void cCatalogueLint::checkRoot()
{
    const cXmlElement root = tree().root();
    const bool isRepository = m_kind == Kind::Repository;
    if (isRepository && root.attribute(u"name").isEmpty())
        report(Rule::CatalogueNoName, root, QStringLiteral("the repository has no name"));
    if (isRepository || !root.attribute(u"version").isEmpty())
        checkVersion(Rule::CatalogueBadVersion, root, u"version");
    if (!root.attribute(u"core_version").isEmpty())
        checkVersion(Rule::CatalogueBadVersion, root, u"core_version");
    if (isRepository && root.firstChild(u"feature").isNull() && root.firstChild(u"runtime").isNull())
        report(Rule::CatalogueNoFeatures, root, QStringLiteral("there is no <feature>"));
}

void cCatalogueLint::checkFeature(const cXmlElement& feature)
{
    checkIdentity(feature);
    const QString active = feature.attribute(u"active", QStringLiteral("false"));
    if (active != QLatin1String("true") && active != QLatin1String("false"))
        report(Rule::FeatureBadActive, feature, QStringLiteral("active \"%1\" counts as false").arg(active));
    checkNotes(feature);
    const QString name = feature.attribute(u"name");
    for (cXmlElement list = feature.firstChild(u"plugins"); !list.isNull(); list = list.nextSibling(u"plugins")) {
        for (cXmlElement child = list.firstChild(u"plugin"); !child.isNull(); child = child.nextSibling(u"plugin"))
            checkPlugin(child, name);
    }
}

void cCatalogueLint::checkIdentity(const cXmlElement& feature)
{
    const QString name = feature.attribute(u"name");
    const cVersion version(feature.attribute(u"version"));
    if (name.isEmpty())
        report(Rule::FeatureNoName, feature, QStringLiteral("the feature has no name"));
    checkVersion(Rule::FeatureBadVersion, feature, u"version");
    if (m_featureVersions.contains(cPluginId(name, version))) {
        report(Rule::FeatureTwice, feature,
               QStringLiteral("\"%1\" %2 comes twice; both are read as one").arg(name, version.toString()));
    } else if (m_features.contains(name)) {
        report(Rule::FeatureHidden, feature,
               QStringLiteral("\"%1\" %2 is never seen behind %3")
                   .arg(name, version.toString(), m_features.value(name).toString()));
    } else {
        m_features.insert(name, version);
    }
    m_featureVersions.insert(cPluginId(name, version));
}

void cCatalogueLint::checkNotes(const cXmlElement& feature)
{
    QSet<QString> seen;
    for (cXmlElement notes = feature.firstChild(u"notes"); !notes.isNull(); notes = notes.nextSibling(u"notes")) {
        const QString text = notes.attribute(u"version", feature.attribute(u"version"));
        const cVersion version(text);
        const QString language = notes.attribute(u"lang", QStringLiteral("en-us"));
        if (text != feature.attribute(u"version"))
            checkVersion(Rule::NotesBadVersion, notes, u"version");
        if (cVersion(feature.attribute(u"version")) < version) {
            report(
                Rule::NotesBadVersion, notes,
                QStringLiteral("the notes are those of %1, which is newer than the feature").arg(version.toString()));
        }
        const QString key = version.toString() + QLatin1Char(' ') + language;
        if (seen.contains(key)) {
            report(Rule::NotesTwice, notes,
                   QStringLiteral("the notes of %1 in \"%2\" come twice").arg(version.toString(), language));
        }
        seen.insert(key);
        const int size = notes.text().trimmed().size();
        if (size == 0)
            report(Rule::NotesEmpty, notes, QStringLiteral("the notes of %1 are empty").arg(version.toString()));
        if (size > ReleaseNotes::LongestText) {
            report(Rule::NotesTooLong, notes,
                   QStringLiteral("the notes of %1 have %2 characters").arg(version.toString()).arg(size));
        }
    }
}

// Of a repository only: features.xml holds no dependencies.
void cCatalogueLint::checkDependencies()
{
    const cXmlElement root = tree().root();
    for (cXmlElement feature = root.firstChild(u"feature"); !feature.isNull();
         feature = feature.nextSibling(u"feature")) {
        for (cXmlElement list = feature.firstChild(u"dependencies"); !list.isNull();
             list = list.nextSibling(u"dependencies")) {
            for (cXmlElement child = list.firstChild(u"feature"); !child.isNull();
                 child = child.nextSibling(u"feature")) {
                if (!m_features.contains(child.attribute(u"name"))) {
                    report(Rule::FeatureUnknownDependency, child,
                           QStringLiteral("\"%1\" needs \"%2\", which is not in the repository: an update would fail")
                               .arg(feature.attribute(u"name"), child.attribute(u"name")));
                }
            }
        }
    }
}

void cCatalogueLint::checkPlugin(const cXmlElement& plugin, const QString& feature)
{
    const QString name = plugin.attribute(u"name");
    if (!isSafePackageName(name)) {
        report(Rule::PluginBadName, plugin,
               name.isEmpty() ? QStringLiteral("the plugin has no name")
                              : QStringLiteral("\"%1\" cannot name a folder").arg(name));
    }
    QString& spelling = m_spellings[caselessFileName(name)];
    if (!spelling.isEmpty() && spelling != name) {
        report(Rule::PluginNameClash, plugin,
               QStringLiteral("\"%1\" differs from \"%2\" only in case").arg(name, spelling));
    }
    spelling = name;
    checkVersionOf(plugin, feature);
    if (m_kind == Kind::Repository)
        checkPackage(plugin);
}

void cCatalogueLint::checkVersionOf(const cXmlElement& plugin, const QString& feature)
{
    checkVersion(Rule::PluginBadVersion, plugin, u"version");
    if (cFeatureInstance::isDevelopment(feature))
        return; // development plugins replace others, whatever their version
    const QString name = plugin.attribute(u"name");
    const cVersion version(plugin.attribute(u"version"));
    const auto known = m_plugins.constFind(name);
    if (known == m_plugins.constEnd()) {
        m_plugins.insert(name, {version, feature});
    } else if (known->first != version) {
        report(Rule::PluginTwoVersions, plugin,
               QStringLiteral(
                   "\"%1\" is %2 in the feature \"%3\" and %4 in the feature \"%5\": a suite with both does not start")
                   .arg(name, known->first.toString(), known->second, version.toString(), feature));
    }
}

void cCatalogueLint::checkPackage(const cXmlElement& plugin)
{
    const QString size = plugin.attribute(u"size");
    bool isNumber = false;
    size.toUInt(&isNumber);
    if (!isNumber) {
        report(Rule::PluginBadSize, plugin,
               size.isEmpty() ? QStringLiteral("there is no size")
                              : QStringLiteral("size \"%1\" counts as 0").arg(size));
    }
    checkHash(Rule::PluginBadHash, plugin);
    checkDeltas(plugin);
    if (plugin.firstChild(u"source").isNull() && !liesBesideDocument(plugin)) {
        report(Rule::PluginNoSource, plugin,
               QStringLiteral("\"%1\" can be fetched from nowhere").arg(plugin.attribute(u"name")));
    }
}

void cCatalogueLint::checkDeltas(const cXmlElement& plugin)
{
    QSet<QString> seen;
    for (cXmlElement delta = plugin.firstChild(u"delta"); !delta.isNull(); delta = delta.nextSibling(u"delta")) {
        checkVersion(Rule::PluginBadDelta, delta, u"from");
        const cVersion from(delta.attribute(u"from"));
        const auto complain = [&](bool isWrong, const QString& text) {
            if (isWrong)
                report(Rule::PluginBadDelta, delta, text);
        };
        complain(!(from < cVersion(plugin.attribute(u"version"))),
                 QStringLiteral("%1 is not older than the plugin").arg(from.toString()));
        complain(seen.contains(from.toString()),
                 QStringLiteral("the delta from %1 comes twice: the first counts").arg(from.toString()));
        seen.insert(from.toString());
        const QString size = delta.attribute(u"size");
        complain(size.toUInt() == 0, QStringLiteral("size \"%1\" is no number of bytes").arg(size));
        const QString hash = delta.attribute(u"hash");
        complain(!isSha1(hash), QStringLiteral("\"%1\" is no SHA-1 hash").arg(hash));
        complain(delta.text().trimmed().isEmpty(), QStringLiteral("the delta has no path"));
    }
}

bool cCatalogueLint::liesBesideDocument(const cXmlElement& plugin) const
{
    const cPluginId id(plugin.attribute(u"name"), cVersion(plugin.attribute(u"version")));
    return !m_packageFolder.isEmpty() && QFileInfo(m_packageFolder + QLatin1Char('/') + id.packageFileName()).isFile();
}

void cCatalogueLint::checkRuntime(const cXmlElement& runtime)
{
    const QString name = runtime.attribute(u"name");
    if (!isSafePackageName(name))
        report(Rule::RuntimeBadName, runtime, QStringLiteral("\"%1\" cannot name a file").arg(name));
    checkVersion(Rule::RuntimeBadVersion, runtime, u"version");
    checkHash(Rule::RuntimeBadHash, runtime);
    if (runtime.firstChild(u"source").text().isEmpty())
        report(Rule::RuntimeNoSource, runtime, QStringLiteral("\"%1\" can be fetched from nowhere").arg(name));
}

void cCatalogueLint::checkHash(Rule rule, const cXmlElement& parent)
{
    const cXmlElement hash = lastChild(parent, u"hash");
    if (hash.isNull())
        report(rule, parent, QStringLiteral("there is no hash: the file would not be fetched"));
    else if (!isSha1(hash.text()))
        report(rule, hash, QStringLiteral("\"%1\" is no SHA-1 hash").arg(hash.text()));
}

bool cSiteLint::check(const QByteArray& xml)
{
    static const cGrammar known{{"", {"repository"}},
                                {"repository", {"@config", "@status", "@platform", "@update", "@content"}}};
    if (!readTree(xml, known))
        return false;
    const cXmlElement root = tree().root();
    for (cXmlElement child = root.firstChild(u"repository"); !child.isNull(); child = child.nextSibling(u"repository"))
        checkEntry(child);
    if (m_entries.isEmpty())
        report(Rule::SiteNoEntries, root, QStringLiteral("there is no <repository>"));
    return true;
}

void cSiteLint::checkEntry(const cXmlElement& entry)
{
    const QString config = entry.attribute(u"config");
    const QString platform = entry.attribute(u"platform");
    if (config != QLatin1String("release") || platform != QLatin1String("x64")) {
        report(Rule::SiteOtherBuild, entry,
               QStringLiteral("config \"%1\" and platform \"%2\" fit no installation").arg(config, platform));
    }
    const QString update = entry.attribute(u"update");
    const QString status = entry.attribute(u"status");
    if (update.isEmpty() || status.isEmpty())
        report(Rule::SiteNoUpdate, entry, QStringLiteral("update or status is missing"));
    const QString content = entry.attribute(u"content");
    const QStringList whole{config, status, platform, update, content};
    if (m_seen.contains(whole)) {
        report(Rule::SiteEntryTwice, entry,
               QStringLiteral("the entry for \"%1\" (%2) comes twice").arg(update, status));
    }
    m_seen.insert(whole);
    m_entries.append({update, content, entry.line(), entry.column()});
}
