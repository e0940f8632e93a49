#include "plugins/cDependencyOrder.h"

#include "plugins/cPluginDependency.h"
#include "version/FlatMap.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <queue>
#include <utility>

namespace {

/// Lists of numbers, one for each key, in two blocks of memory (compressed rows): with ten thousand plugins a list for
/// each would be all over the memory.
class cRows
{
public:
    struct Row
    {
        const int* first;
        const int* last;
        const int* begin() const { return first; }
        const int* end() const { return last; }
    };

    /// Puts the number `valueOf(i)` into the row of `keys[i]`, in this order, except where the key is negative.
    template <typename ValueOf>
    cRows(int count, const std::vector<int>& keys, ValueOf valueOf) : m_begin(size_t(count) + 1)
    {
        for (int key : keys) {
            if (key >= 0)
                ++m_begin[key];
        }
        // First where each row ends; filling from the back moves that to where it begins.
        std::partial_sum(m_begin.begin(), m_begin.end(), m_begin.begin());
        m_values.resize(size_t(m_begin.back()));
        for (size_t i = keys.size(); i-- > 0;) {
            if (keys[i] >= 0)
                m_values[--m_begin[keys[i]]] = valueOf(i);
        }
    }

    Row operator[](int key) const { return {m_values.data() + m_begin[key], m_values.data() + m_begin[key + 1]}; }

private:
    std::vector<int> m_begin;
    std::vector<int> m_values;
};

/// When a record is due: the number of the pass, and the place in the list.
using Due = std::pair<int, int>;

/// The first of @p places behind @p now: in the same pass, or else in the next.
Due nextOf(cRows::Row places, Due now)
{
    const int* next = std::upper_bound(places.begin(), places.end(), now.second);
    return next == places.end() ? Due(now.first + 1, *places.begin()) : Due(now.first, *next);
}

} // namespace

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
    std::vector<int> dependents; // who has the dependency of the same place in m_providers
    dependents.reserve(m_providers.size());
    std::vector<int> missing; // how many dependencies of each record have not been placed
    for (int record = 0; record < count(); ++record) {
        missing.push_back(m_dependencies[record].size());
        dependents.insert(dependents.end(), size_t(missing.back()), record);
    }
    const cRows dependentsOf(count(), m_providers, [&](size_t i) { return dependents[i]; });
    const cRows placesOf(count(), m_list, [](size_t i) { return int(i); });

    std::priority_queue<Due, std::vector<Due>, std::greater<Due>> due;
    for (int record = 0; record < count(); ++record) {
        if (missing[record] == 0)
            due.emplace(0, *placesOf[record].begin());
    }
    QVector<int> placed;
    placed.reserve(count());
    while (!due.empty()) {
        const Due now = due.top();
        due.pop();
        const int record = m_list[now.second];
        placed.append(record);
        m_isPlaced[record] = true;
        for (int dependent : dependentsOf[record]) {
            if (--missing[dependent] == 0)
                due.push(nextOf(placesOf[dependent], now));
        }
    }
    return placed;
}

/// Finds the record that each dependency needs: the first of its name.
void cDependencyOrder::resolve()
{
    FlatMap<QStringView, int> numbers;
    numbers.reserve(m_names.size());
    for (int record = 0; record < count(); ++record)
        numbers.emplace(QStringView(m_names[record]), record);
    m_providersBegin.reserve(m_names.size() + 1);
    for (const QStringList& texts : m_dependencies) {
        m_providersBegin.push_back(int(m_providers.size()));
        for (const QString& text : texts) {
            const auto provider = numbers.find(cPluginDependency::nameOf(text));
            m_providers.push_back(provider == numbers.end() ? Absent : provider->second);
        }
    }
    m_providersBegin.push_back(int(m_providers.size()));
    m_isPlaced.resize(m_names.size());
}

QVector<cOrderFault> cDependencyOrder::faults() const
{
    QVector<cOrderFault> faults;
    for (int record = 0; record < count(); ++record) {
        for (int i = m_providersBegin[record]; i < m_providersBegin[record + 1]; ++i) {
            if (m_providers[i] != Absent)
                continue;
            const QString name = cPluginDependency(m_dependencies[record].at(i - m_providersBegin[record])).name();
            faults.append(
                {{record},
                 false,
                 name,
                 QStringLiteral("plugin \"%1\" depends on \"%2\", which is not installed").arg(m_names[record], name)});
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
            faults.append(cycleOf(at));
    }
    return faults;
}

int cDependencyOrder::firstLeftProvider(int record) const
{
    for (int i = m_providersBegin[record]; i < m_providersBegin[record + 1]; ++i) {
        if (m_providers[i] != Absent && !m_isPlaced[m_providers[i]])
            return m_providers[i];
    }
    return Absent;
}

cOrderFault cDependencyOrder::cycleOf(int member) const
{
    cOrderFault fault{{}, true, QString(), QString()};
    QStringList names;
    int at = member;
    do {
        fault.records.append(at);
        names.append(m_names[at]);
        at = firstLeftProvider(at);
    } while (at != member);
    names.append(m_names[member]);
    fault.text = QStringLiteral("plugins depend on each other in a circle: ") + names.join(QStringLiteral(" -> "));
    return fault;
}
