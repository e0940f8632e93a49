#pragma once

#include "config/cFeatureCatalogue.h"
#include "plugins/cStartRules.h"
#include "version/cPluginId.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

class QDir;
class cInstallPlan;

/**
 * Leaves out of a plan what would keep the suite from starting: the plugins as they would be published after the run
 * are held against the rules of the start. So is what it would start without: a plugin that is built with another Qt.
 *
 * What keeps the installed set from starting as it is leaves nothing out: it could never be cured otherwise. The
 * plugins of the plan have been unpacked by then.
 */
class cStartCheck
{
public:
    /// @p plan must live as long as this object.
    explicit cStartCheck(cInstallPlan& plan) : m_plan(plan) {}

    /// Settles the plan, and goes on until what is left of it breaks no rule anew.
    void run();

    /// Why the installed suite would not start with @p id as it lies in @p folder, or would leave it out; empty when it
    /// would not, or does not start as it is. Nothing is left out of the plan.
    QString refusal(const cPluginId& id, const QString& folder);

private:
    using Set = QVector<cStartCandidate>;

    void leaveOutUnloadable();
    static QString whyUnloadable(const cStartCandidate& plugin);
    void noteKnown(const Set& before);
    Set published(const cFeatureCatalogue::Features& features);
    const cStartCandidate& candidate(const cPluginId& id);
    const cStartCandidate& read(const cPluginId& id, const QDir& folder);
    bool leaveOutFaulty();
    void notePlaces();
    int culpritOf(const cStartFault& fault) const;
    bool isSettled(const cStartFault& fault) const;
    static QString keyOf(const cStartFault& fault);

    cInstallPlan& m_plan;
    QHash<cPluginId, cStartCandidate> m_candidates; // that have been read
    QSet<cPluginId> m_before;                       // what is published as long as nothing is installed
    QSet<QString> m_known;                          // keys of what is wrong with that

    // Places in the plan of features that are taken, of each pass anew.
    QHash<cPluginId, int> m_bringers; // of each plugin that they have
    QHash<QString, int> m_droppers;   // of each plugin name that they had before
};
