#include "plugins/cStartRules.h"

#include "plugins/cDependencyOrder.h"

#include <Norvale/IPlugin.h>

QString cStartRules::unreadable(const cPluginId& id, const QString& readError)
{
    return QStringLiteral("the manifest of %1 is faulty: %2").arg(id.toString(), readError);
}

std::optional<cStartFault> cStartRules::enter(const cPluginId& id, qint32 runtimeApiVersion,
                                              const QStringList& services)
{
    if (runtimeApiVersion != IPlugin::RuntimeApiVersion) {
        const QString text = QStringLiteral(
            "%1 is made for the runtime API version %2; this is version %3, for which it has to be built anew");
        return cStartFault{cStartFault::Manifest,
                           {id},
                           QString(),
                           text.arg(id.toString()).arg(runtimeApiVersion).arg(IPlugin::RuntimeApiVersion)};
    }
    for (const QString& service : services) {
        const auto [entry, isNew] = m_owners.try_emplace(service, id);
        if (isNew)
            continue;
        const cPluginId& owner = entry->second;
        const QString text =
            QStringLiteral("the service \"%1\" is declared twice: by plugin \"%2\" and by plugin \"%3\"")
                .arg(service, owner.name(), id.name());
        if (owner == id)
            return cStartFault{cStartFault::Manifest, {id}, QString(), text};
        return cStartFault{cStartFault::Service, {owner, id}, QString(), text};
    }
    return std::nullopt;
}

const QString* cStartRules::ownerOf(const QString& service) const
{
    const auto entry = m_owners.find(service);
    return entry == m_owners.end() ? nullptr : &entry->second.name();
}

QVector<cStartFault> cStartRules::faultsOf(const QVector<cStartCandidate>& candidates)
{
    QVector<cStartFault> faults;
    cStartRules rules;
    cDependencyOrder order;
    order.reserve(candidates.size(), candidates.size());
    for (const cStartCandidate& candidate : candidates) {
        order.addRecord(candidate.id.name(), candidate.manifest.dependencies);
        if (!candidate.readError.isEmpty())
            faults.append(
                {cStartFault::Manifest, {candidate.id}, QString(), unreadable(candidate.id, candidate.readError)});
        else if (const auto fault =
                     rules.enter(candidate.id, candidate.manifest.runtimeApiVersion, candidate.manifest.services))
            faults.append(*fault);
    }
    order.order();
    for (const cOrderFault& fault : order.faults()) {
        QVector<cPluginId> plugins;
        for (int record : fault.records)
            plugins.append(candidates.at(record).id);
        const auto kind = fault.isCircle ? cStartFault::Circle : cStartFault::Dependency;
        faults.append({kind, plugins, fault.absent, fault.text});
    }
    return faults;
}
