#include "install/cStartCheck.h"

#include "config/cPublication.h"
#include "core/Files.h"
#include "install/cInstallPlan.h"
#include "plugins/ManifestRules.h"
#include "plugins/cLibraryFile.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginInstance.h"

#include <QtCore/QDir>

#include <algorithm>

namespace {

constexpr int None = -1;
const QLatin1String NotStarting("the suite would not start: ");

} // namespace

void cStartCheck::run()
{
    m_plan.settle();
    leaveOutUnloadable();
    m_plan.settle();
    if (!m_plan.hasTaken())
        return;
    const Set before = published(m_plan.installed().features());
    for (const cStartCandidate& plugin : before)
        m_before.insert(plugin.id);
    noteKnown(before);
    while (m_plan.hasTaken() && leaveOutFaulty())
        m_plan.settle();
}

QString cStartCheck::refusal(const cPluginId& id, const QString& folder)
{
    noteKnown(published(m_plan.installed().features()));
    const QString reason = whyUnloadable(read(id, folder));
    if (!reason.isEmpty())
        return reason;
    for (const cStartFault& fault : cStartRules::faultsOf(published(m_plan.installed().features()))) {
        if (!m_known.contains(keyOf(fault)))
            return NotStarting + fault.reason;
    }
    return QString();
}

/// Leaves out the features that bring a plugin whose library is bound to be refused.
void cStartCheck::leaveOutUnloadable()
{
    for (int i = 0; i < m_plan.features().size(); ++i) {
        const cInstallPlan::Feature& feature = m_plan.features().at(i);
        if (feature.isLeftOut())
            continue;
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature.record->plugins()) {
            const QString reason = m_plan.isPresent(plugin->id()) ? QString() : whyUnloadable(candidate(plugin->id()));
            if (reason.isEmpty())
                continue;
            m_plan.leaveOut(i, {reason});
            break;
        }
    }
}

QString cStartCheck::whyUnloadable(const cStartCandidate& plugin)
{
    const QString path = plugin.manifest.libraryPath;
    const QString refusal =
        path.isEmpty() ? path : cLibraryFile(path + QLatin1String(cPluginInstance::LibrarySuffix)).refusal();
    return refusal.isEmpty() ? refusal
                             : QStringLiteral("%1 would not be loaded: %2").arg(plugin.id.toString(), refusal);
}

void cStartCheck::noteKnown(const Set& before)
{
    for (const cStartFault& fault : cStartRules::faultsOf(before))
        m_known.insert(keyOf(fault));
}

/// The plugins that a start with these features would have, with their manifests.
cStartCheck::Set cStartCheck::published(const cFeatureCatalogue::Features& features)
{
    cPublication publication;
    for (const QSharedPointer<cFeatureInstance>& feature : features)
        (void)publication.add(*feature); // two versions of a plugin are the plan's to tell
    Set set;
    for (const QSharedPointer<cFeaturePlugin>& plugin : publication.plugins())
        set.append(candidate(plugin->id()));
    return set;
}

const cStartCandidate& cStartCheck::candidate(const cPluginId& id)
{
    const auto known = m_candidates.constFind(id);
    return known != m_candidates.constEnd() ? *known : read(id, Corvane::pluginDir(id));
}

const cStartCandidate& cStartCheck::read(const cPluginId& id, const QDir& folder)
{
    cStartCandidate& candidate = m_candidates[id];
    candidate = cStartCandidate{id, {}, {}};
    cManifestReader reader(id, folder.absolutePath(), candidate.manifest);
    if (!reader.readFile(folder.absoluteFilePath(ManifestRules::FileName)))
        candidate.readError = reader.errorString();
    return candidate;
}

/// Leaves out a feature for each fault that is not known. False when there is none.
bool cStartCheck::leaveOutFaulty()
{
    bool hasLeftOut = false;
    notePlaces();
    for (const cStartFault& fault : cStartRules::faultsOf(published(m_plan.result()))) {
        // What has been left out for another fault may have been all that is wrong here.
        if (m_known.contains(keyOf(fault)) || (hasLeftOut && isSettled(fault)))
            continue;
        m_plan.leaveOut(culpritOf(fault), NotStarting + fault.reason);
        hasLeftOut = true;
    }
    return hasLeftOut;
}

void cStartCheck::notePlaces()
{
    m_bringers.clear();
    m_droppers.clear();
    for (int i = 0; i < m_plan.features().size(); ++i) {
        const cInstallPlan::Feature& feature = m_plan.features().at(i);
        if (feature.isLeftOut())
            continue;
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature.record->plugins())
            m_bringers.insert(plugin->id(), i);
        if (const auto before = m_plan.installed().find(feature.record->name())) {
            for (const QSharedPointer<cFeaturePlugin>& plugin : before->plugins())
                m_droppers.insert(plugin->name(), i);
        }
    }
}

/// The place in the plan of the feature that a fault is put down to: the last one that brings a plugin of it that was
/// not there before, or else the one that took away what is absent.
int cStartCheck::culpritOf(const cStartFault& fault) const
{
    const QVector<cPluginId>& plugins = fault.plugins;
    const auto isNew = [&](const cPluginId& id) { return !m_before.contains(id) && m_bringers.contains(id); };
    const auto added = std::find_if(plugins.rbegin(), plugins.rend(), isNew);
    if (added != plugins.rend())
        return m_bringers.value(*added);
    if (m_droppers.contains(fault.absent))
        return m_droppers.value(fault.absent);
    // Whatever it may be, without any of the features there is no fault that was not there before.
    int last = m_plan.features().size() - 1;
    while (m_plan.features().at(last).isLeftOut())
        --last;
    return last;
}

/// Whether a feature that the fault may be put down to has been left out since the pass began.
bool cStartCheck::isSettled(const cStartFault& fault) const
{
    const auto isLeftOut = [&](int place) { return place != None && m_plan.features().at(place).isLeftOut(); };
    return isLeftOut(m_droppers.value(fault.absent, None)) ||
           std::any_of(fault.plugins.begin(), fault.plugins.end(),
                       [&](const cPluginId& id) { return isLeftOut(m_bringers.value(id, None)); });
}

QString cStartCheck::keyOf(const cStartFault& fault)
{
    QString key = fault.reason;
    for (const cPluginId& id : fault.plugins)
        key += QLatin1Char('\n') + id.toString();
    return key;
}
