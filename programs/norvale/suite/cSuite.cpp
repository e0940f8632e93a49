#include "suite/cSuite.h"

#include "config/cPublication.h"
#include "plugins/cPluginDependency.h"
#include "plugins/cStartRules.h"
#include "report/cFindings.h"

#include <QtCore/QSet>

#include <optional>

namespace {

QSet<QString> namesOf(const QVector<QSharedPointer<cFeaturePlugin>>& plugins)
{
    QSet<QString> names;
    for (const QSharedPointer<cFeaturePlugin>& plugin : plugins)
        names.insert(plugin->name());
    return names;
}

Rule ruleOf(cStartFault::Kind kind)
{
    switch (kind) {
    case cStartFault::Manifest:
        return Rule::ManifestUnreadable;
    case cStartFault::Service:
        return Rule::SuiteServiceTwice;
    case cStartFault::Dependency:
        return Rule::SuiteDependencyMissing;
    case cStartFault::Circle:
        break;
    }
    return Rule::SuiteDependencyCycle;
}

} // namespace

void cSuite::add(const cPluginId& plugin, const cManifest& manifest, const cQtMajors& qtMajors)
{
    m_manifests.insert(plugin, manifest);
    m_qtMajors.insert(plugin, qtMajors);
}

const cManifest* cSuite::manifestOf(const cPluginId& plugin) const
{
    const auto it = m_manifests.constFind(plugin);
    return it == m_manifests.constEnd() ? nullptr : &*it;
}

QVector<QSharedPointer<cFeaturePlugin>> cSuite::plugins() const
{
    cPublication publication;
    for (const QSharedPointer<cFeatureInstance>& feature : m_catalogue.features()) {
        if (!publication.add(*feature))
            break; // two versions of a plugin; the catalogue's check says so
    }
    return publication.plugins();
}

void cSuite::check(const QString& file, cFindings& findings) const
{
    QVector<cStartCandidate> candidates;
    for (const QSharedPointer<cFeaturePlugin>& plugin : plugins()) {
        const cManifest* const manifest = manifestOf(plugin->id());
        candidates.append({plugin->id(), manifest ? *manifest : cManifest(), QString()});
    }
    for (const cStartFault& fault : cStartRules::faultsOf(candidates)) {
        if (fault.kind != cStartFault::Manifest) // the check of manifests tells of it, with the place
            findings.add(ruleOf(fault.kind), file, fault.reason + QStringLiteral(": the suite does not start"));
    }
    checkQt(file, findings);
}

// Which Qt the suites run on is not known here, but each runs on one. For another system they may run on another.
void cSuite::checkQt(const QString& file, cFindings& findings) const
{
    QMap<QString, cPluginId> firsts; // by the ending of the library
    for (const QSharedPointer<cFeaturePlugin>& plugin : plugins()) {
        const cQtMajors majors = m_qtMajors.value(plugin->id());
        for (auto major = majors.begin(); major != majors.end(); ++major) {
            const cPluginId first = firsts.value(major.key(), plugin->id());
            firsts.insert(major.key(), first);
            const int other = m_qtMajors.value(first).value(major.key());
            if (other == *major)
                continue;
            const QString text = QStringLiteral("%1 is built with Qt %2, and %3 with Qt %4: no suite loads both");
            return findings.add(Rule::SuiteQtMixed, file,
                                text.arg(first.toString()).arg(other).arg(plugin->id().toString()).arg(*major));
        }
    }
}

QStringList cSuite::dependenciesOf(const cPluginId& plugin) const
{
    QStringList names;
    if (const cManifest* const manifest = manifestOf(plugin)) {
        for (const QString& text : manifest->dependencies)
            names.append(cPluginDependency(text).name());
    }
    return names;
}

void cSuite::checkReach(const QString& file, cFindings& findings) const
{
    const QSharedPointer<cFeatureInstance> core = m_catalogue.find(QStringLiteral("Core"));
    const QSet<QString> inCore = core ? namesOf(core->plugins()) : QSet<QString>();
    for (const QSharedPointer<cFeatureInstance>& feature : m_catalogue.features()) {
        const QSet<QString> own = namesOf(feature->plugins());
        std::optional<QSet<QString>> further; // found out only where it is asked for
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            for (const QString& name : dependenciesOf(plugin->id())) {
                if (own.contains(name) || inCore.contains(name))
                    continue;
                if (!further)
                    further = pluginsBehind(*feature);
                if (!further->contains(name)) {
                    findings.add(
                        Rule::SuiteDependencyOutside, file,
                        QStringLiteral(
                            "%1 of the feature \"%2\" depends on \"%3\", which is in no feature that \"%2\" depends on")
                            .arg(plugin->id().toString(), feature->name(), name));
                }
            }
        }
    }
}

QSet<QString> cSuite::pluginsBehind(const cFeatureInstance& feature) const
{
    QSet<QString> plugins;
    QSet<QString> seen{feature.name()};
    QStringList pending = feature.dependencies();
    while (!pending.isEmpty()) {
        const QString name = pending.takeLast();
        const QSharedPointer<cFeatureInstance> next = m_catalogue.find(name);
        if (!next || seen.contains(name))
            continue;
        seen.insert(name);
        plugins += namesOf(next->plugins());
        pending += next->dependencies();
    }
    return plugins;
}
