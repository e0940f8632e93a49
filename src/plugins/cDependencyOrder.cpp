#include "plugins/cDependencyOrder.h"

#include "plugins/cNameIndex.h"
#include "plugins/cPlaceSet.h"
#include "plugins/cPluginDependency.h"

#include <algorithm>
#include <numeric>
#include <utility>

void cDependencyOrder::reserve(int records, int places)
{
    m_names.reserve(size_t(records));
    m_dependencies.reserve(size_t(records));
    m_list.reserve(size_t(places));
}

int cDependencyOrder::addRecord(const QString& name, const QStringList& dependencies)
{
    m_names.push_back(name);
    m_dependencies.push_back(dependencies);
    addPlace(count() - 1);
    return count() - 1;
}

void cDependencyOrder::addPlace(int record)
{
    m_list.push_back(record);
}

QVector<int> cDependencyOrder::order()
{
    resolve();
    cPlaceSet dueInThisPass(int(m_list.size()));
    cPlaceSet dueInNextPass(int(m_list.size()));
    for (int record = 0; record < count(); ++record) {
        if (m_missing[record] == 0)
            dueInNextPass.insert(*m_places.group(record).begin());
    }
    QVector<int> placed;
    placed.reserve(count());
    for (int before = Absent; placed.size() != before;) {
        before = placed.size();
        std::swap(dueInThisPass, dueInNextPass);
        for (int place = dueInThisPass.takeFrom(0); place != Absent; place = dueInThisPass.takeFrom(place)) {
            placed.append(m_list[place]);
            m_isPlaced[m_list[place]] = true;
            for (int dependent : m_dependents.group(m_list[place])) {
                if (--m_missing[dependent] > 0)
                    continue;
                const int next = placeBehind(dependent, place);
                if (next != Absent)
                    dueInThisPass.insert(next);
                else
                    dueInNextPass.insert(*m_places.group(dependent).begin());
            }
        }
    }
    return placed;
}

void cDependencyOrder::resolve()
{
    size_t dependencies = 0;
    for (const QStringList& texts : m_dependencies)
        dependencies += size_t(texts.size());
    const cNameIndex index(m_names);
    std::vector<int> dependents; // who has the dependency of the same place in m_providers
    dependents.reserve(dependencies);
    m_providers.reserve(dependencies);
    m_providersBegin.reserve(m_names.size() + 1);
    m_missing.reserve(m_names.size());
    for (int record = 0; record < count(); ++record) {
        m_providersBegin.push_back(int(m_providers.size()));
        for (const QString& text : qAsConst(m_dependencies[record])) {
            m_providers.push_back(index.find(cPluginDependency::nameOf(text)));
            dependents.push_back(record);
        }
        m_missing.push_back(m_dependencies[record].size());
    }
    m_providersBegin.push_back(int(m_providers.size()));
    m_dependents.build(count(), m_providers, [&](size_t i) { return dependents[i]; });
    m_places.build(count(), m_list, [](size_t i) { return int(i); });
    m_isPlaced.resize(m_names.size());
}

template <typename ValueOf>
void cDependencyOrder::cGroups::build(int count, const std::vector<int>& keys, ValueOf valueOf)
{
    m_begin.assign(size_t(count) + 1, 0);
    for (int key : keys) {
        if (key != Absent)
            ++m_begin[key];
    }
    // First where each group ends; filling from the back moves that to where it begins.
    std::partial_sum(m_begin.begin(), m_begin.end(), m_begin.begin());
    m_values.resize(size_t(m_begin.back()));
    for (size_t i = keys.size(); i-- > 0;) {
        if (keys[i] != Absent)
            m_values[--m_begin[keys[i]]] = valueOf(i);
    }
}

int cDependencyOrder::placeBehind(int record, int place) const
{
    const auto places = m_places.group(record);
    const int* next = std::upper_bound(places.begin(), places.end(), place);
    return next == places.end() ? Absent : *next;
}

QStringList cDependencyOrder::reasons() const
{
    QStringList lines;
    for (int record = 0; record < count(); ++record) {
        for (int i = m_providersBegin[record]; i < m_providersBegin[record + 1]; ++i) {
            const QString& text = m_dependencies[record].at(i - m_providersBegin[record]);
            if (m_providers[i] == Absent)
                lines.append(QStringLiteral("%1 depends on %2, which is not installed")
                                 .arg(m_names[record], cPluginDependency(text).name()));
        }
    }
    // From each record that is left to the first that it waits for: a walk that meets its own trace has found a cycle.
    std::vector<int> walkOf(m_names.size(), Absent);
    for (int start = 0; start < count(); ++start) {
        int at = m_isPlaced[start] ? Absent : start;
        while (at != Absent && walkOf[at] == Absent) {
            walkOf[at] = start;
            at = firstLeftProvider(at);
        }
        if (at != Absent && walkOf[at] == start)
            lines.append(describeCycle(at));
    }
    return lines;
}

int cDependencyOrder::firstLeftProvider(int record) const
{
    for (int i = m_providersBegin[record]; i < m_providersBegin[record + 1]; ++i) {
        if (m_providers[i] != Absent && !m_isPlaced[m_providers[i]])
            return m_providers[i];
    }
    return Absent;
}

QString cDependencyOrder::describeCycle(int member) const
{
    QStringList names{m_names[member]};
    for (int at = firstLeftProvider(member); at != member; at = firstLeftProvider(at))
        names.append(m_names[at]);
    names.append(m_names[member]);
    return QStringLiteral("plugins depend on each other in a circle: ") + names.join(QStringLiteral(" -> "));
}
