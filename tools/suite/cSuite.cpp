#include "suite/cSuite.h"

#include "config/cPublication.h"
#include "plugins/cDependencyOrder.h"
#include "plugins/cPluginDependency.h"
#include "report/cFindings.h"

#include <QtCore/QSet>

#include <algorithm>

void cSuite::addManifest(const cFeaturePlugin& plugin, const cManifest& manifest)
{
    m_manifests.insert(plugin.identity(), manifest);
}

const cManifest* cSuite::manifestOf(const cFeaturePlugin& plugin) const
{
    const auto it = m_manifests.constFind(plugin.identity());
    return it == m_manifests.constEnd() ? nullptr : &*it;
}

QList<QSharedPointer<cFeaturePlugin>> cSuite::plugins() const
{
    cPublication publication;
    for (const QSharedPointer<cFeatureInstance>& feature : m_catalogue.features())
        if (!publication.add(*feature))
            break; // two versions of a plugin; the catalogue's check says so
    return publication.plugins().toList();
}

void cSuite::check(const QString& file, cFindings& findings) const
{
    checkDependencies(file, findings);
    checkCircles(file, findings);
    checkServices(file, findings);
}

void cSuite::checkReach(const QString& file, cFindings& findings) const
{
    for (const QSharedPointer<cFeatureInstance>& feature : m_catalogue.features())
        checkReach(*feature, file, findings);
}

void cSuite::checkDependencies(const QString& file, cFindings& findings) const
{
    const QList<QSharedPointer<cFeaturePlugin>> all = plugins();
    QSet<QString> names;
    for (const QSharedPointer<cFeaturePlugin>& plugin : all)
        names.insert(plugin->name());
    for (const QSharedPointer<cFeaturePlugin>& plugin : all) {
        const cManifest* const manifest = manifestOf(*plugin);
        const QStringList dependencies = manifest ? manifest->dependencies : QStringList();
        for (const QString& text : dependencies) {
            const QString name = cPluginDependency(text).name();
            if (!names.contains(name))
                findings.add(Rule::SuiteDependencyMissing, file,
                             QStringLiteral("%1 depends on %2, which no feature has: the suite does not start")
                                 .arg(plugin->identity(), name));
        }
    }
}

QList<QSharedPointer<cFeatureInstance>> cSuite::closureOf(const cFeatureInstance& feature) const
{
    QList<QSharedPointer<cFeatureInstance>> closure;
    QSet<QString> seen{feature.name()};
    QStringList pending = feature.dependencies();
    while (!pending.isEmpty()) {
        const QString name = pending.takeLast();
        const QSharedPointer<cFeatureInstance> next = m_catalogue.find(name);
        if (!next || seen.contains(name))
            continue;
        seen.insert(name);
        closure.append(next);
        pending += next->dependencies();
    }
    return closure;
}

void cSuite::checkReach(const cFeatureInstance& feature, const QString& file, cFindings& findings) const
{
    QSet<QString> inReach;
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        inReach.insert(plugin->name());
    for (const QSharedPointer<cFeatureInstance>& other : closureOf(feature))
        for (const QSharedPointer<cFeaturePlugin>& plugin : other->plugins())
            inReach.insert(plugin->name());
    if (const QSharedPointer<cFeatureInstance> core = m_catalogue.find(QStringLiteral("Core")))
        for (const QSharedPointer<cFeaturePlugin>& plugin : core->plugins())
            inReach.insert(plugin->name());
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        const cManifest* const manifest = manifestOf(*plugin);
        const QStringList dependencies = manifest ? manifest->dependencies : QStringList();
        for (const QString& text : dependencies) {
            const QString name = cPluginDependency(text).name();
            if (!inReach.contains(name))
                findings.add(Rule::SuiteDependencyOutside, file,
                             QStringLiteral("%1 of feature %2 depends on %3, which is in no feature that %2 depends on")
                                 .arg(plugin->identity(), feature.name(), name));
        }
    }
}

// The order of start decides; what it says of absent dependencies has been told.
void cSuite::checkCircles(const QString& file, cFindings& findings) const
{
    const QList<QSharedPointer<cFeaturePlugin>> all = plugins();
    QSet<QString> names;
    for (const QSharedPointer<cFeaturePlugin>& plugin : all)
        names.insert(plugin->name());
    cDependencyOrder order;
    for (const QSharedPointer<cFeaturePlugin>& plugin : all) {
        const cManifest* const manifest = manifestOf(*plugin);
        QStringList present;
        for (const QString& text : manifest ? manifest->dependencies : QStringList())
            if (names.contains(cPluginDependency(text).name()))
                present.append(text);
        order.addRecord(plugin->name(), present);
    }
    order.order();
    for (const QString& reason : order.reasons())
        findings.add(Rule::SuiteDependencyCycle, file, reason);
}

void cSuite::checkServices(const QString& file, cFindings& findings) const
{
    QHash<QString, QString> owners;
    for (const QSharedPointer<cFeaturePlugin>& plugin : plugins()) {
        const cManifest* const manifest = manifestOf(*plugin);
        for (const QString& service : manifest ? manifest->services : QStringList()) {
            const QString owner = owners.value(service);
            if (owner.isEmpty())
                owners.insert(service, plugin->name());
            else if (owner != plugin->name())
                findings.add(Rule::SuiteServiceTwice, file,
                             QStringLiteral("%1 and %2 both declare the service \"%3\": the suite does not start")
                                 .arg(owner, plugin->name(), service));
        }
    }
}
