#include "plugins/cDependencyOrder.h"

#include "plugins/cPluginDependency.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <utility>

int cDependencyOrder::addRecord(const QString& name, const QStringList& dependencies)
{
    const int number = int(m_records.size());
    Record record;
    record.name = name;
    record.dependencies = dependencies;
    m_records.push_back(std::move(record));
    if (!m_firstByName.contains(name))
        m_firstByName.insert(name, number);
    addPlace(number);
    return number;
}

void cDependencyOrder::addPlace(int record)
{
    m_records[record].places.append(m_length++);
}

// A time is a place counted on through the passes: the number of the pass times the length of the list, plus the place.
QVector<int> cDependencyOrder::order()
{
    resolve();
    using Due = std::pair<qint64, int>;
    std::priority_queue<Due, std::vector<Due>, std::greater<Due>> due;
    for (int number = 0; number < int(m_records.size()); ++number) {
        if (m_records[number].missing == 0)
            due.emplace(m_records[number].places.first(), number);
    }
    QVector<int> placed;
    placed.reserve(int(m_records.size()));
    while (!due.empty()) {
        const auto [time, number] = due.top();
        due.pop();
        m_records[number].isPlaced = true;
        placed.append(number);
        for (int dependent : qAsConst(m_records[number].dependents)) {
            if (--m_records[dependent].missing == 0)
                due.emplace(nextTime(dependent, time), dependent);
        }
    }
    return placed;
}

void cDependencyOrder::resolve()
{
    for (int number = 0; number < int(m_records.size()); ++number) {
        Record& record = m_records[number];
        for (const QString& text : qAsConst(record.dependencies)) {
            const int provider = m_firstByName.value(cPluginDependency(text).name(), Absent);
            record.providers.append(provider);
            if (provider != Absent)
                m_records[provider].dependents.append(number);
        }
        record.missing = record.providers.size();
    }
}

qint64 cDependencyOrder::nextTime(int record, qint64 after) const
{
    const QVector<int>& places = m_records[record].places;
    const qint64 passBegin = after - after % m_length;
    const auto next = std::upper_bound(places.begin(), places.end(), int(after - passBegin));
    return next == places.end() ? passBegin + m_length + places.first() : passBegin + *next;
}

QStringList cDependencyOrder::reasons() const
{
    QStringList lines;
    for (const Record& record : m_records) {
        for (int i = 0; i < record.providers.size(); ++i) {
            if (record.providers.at(i) == Absent)
                lines.append(QStringLiteral("%1 depends on %2, which is not installed")
                                 .arg(record.name, cPluginDependency(record.dependencies.at(i)).name()));
        }
    }
    // From each record that is left to the first that it waits for: a walk that meets its own trace has found a cycle.
    std::vector<int> walkOf(m_records.size(), Absent);
    for (int start = 0; start < int(m_records.size()); ++start) {
        int at = m_records[start].isPlaced ? Absent : start;
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
    for (int provider : m_records[record].providers) {
        if (provider != Absent && !m_records[provider].isPlaced)
            return provider;
    }
    return Absent;
}

QString cDependencyOrder::describeCycle(int member) const
{
    QStringList names{m_records[member].name};
    for (int at = firstLeftProvider(member); at != member; at = firstLeftProvider(at))
        names.append(m_records[at].name);
    names.append(m_records[member].name);
    return QStringLiteral("plugins depend on each other in a circle: ") + names.join(QStringLiteral(" -> "));
}
