#include "plugins/cLeftOut.h"

#include "plugins/cPluginDependency.h"

#include <QtCore/QSet>

void cLeftOut::setNames(const QStringList& names)
{
    m_names.clear();
    for (const QString& name : names)
        m_names.append(QString(name.constData(), name.size())); // a literal goes with its library
}

void cLeftOut::find(int count, const QVector<Candidate>& candidates)
{
    m_entries.assign(size_t(count), Entry());
    std::vector<std::vector<int>> dependents(static_cast<size_t>(count));
    const QSet<QString> names(m_names.begin(), m_names.end());
    std::vector<int> due; // what is left out, and whose dependents have not been looked at
    for (const Candidate& candidate : candidates) {
        m_entries[candidate.plugin].name = candidate.name;
        for (int dependency : candidate.dependencies)
            dependents[dependency].push_back(candidate.plugin);
        if (names.contains(candidate.name)) {
            leaveOut(candidate.plugin, None);
            due.push_back(candidate.plugin);
        }
    }
    for (size_t next = 0; next < due.size(); ++next) {
        for (int dependent : dependents[due[next]]) {
            if (contains(dependent))
                continue;
            leaveOut(dependent, due[next]);
            due.push_back(dependent);
        }
    }
}

void cLeftOut::leaveOut(int plugin, int dependency)
{
    Entry& entry = m_entries[plugin];
    entry.isLeftOut = true;
    entry.dependency = dependency;
    entry.depth = dependency == None ? 0 : m_entries[dependency].depth + 1;
    entry.pathEnd = entry.depth < ShownOfPath ? plugin : m_entries[dependency].pathEnd;
}

QString cLeftOut::reason(int plugin) const
{
    if (!contains(plugin))
        return QString();
    if (m_entries[plugin].dependency == None)
        return QStringLiteral("left out");
    // Each path is walked only where it is shown: in a long chain there are as many long ones.
    const int count = m_entries[plugin].depth + 1;
    const Entry* at = &m_entries[plugin];
    const Entry* shown = at;
    const QString path = pathText(count, [&](int i) {
        if (count > 2 * ShownOfPath && i == count - ShownOfPath)
            at = &m_entries[at->pathEnd];
        shown = at;
        at = shown->dependency == None ? nullptr : &m_entries[shown->dependency];
        return shown->name;
    });
    return QStringLiteral("depends on \"%1\", which is left out (%2)").arg(shown->name, path);
}
