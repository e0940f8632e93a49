#include "graph/cCycles.h"

#include <QtCore/QPair>

int cCycles::numberOf(const QString& name)
{
    const auto known = m_numbers.constFind(name);
    if (known != m_numbers.constEnd())
        return *known;
    m_names.append(name);
    m_targets.append(QVector<int>());
    return *m_numbers.insert(name, m_names.size() - 1);
}

void cCycles::add(const QString& from, const QString& to)
{
    const int number = numberOf(from);
    const int target = numberOf(to);
    m_targets[number].append(target);
}

void cCycles::find()
{
    m_order.fill(0, m_names.size());
    m_lowest.fill(0, m_names.size());
    m_component.fill(-1, m_names.size());
    for (int number = 0; number < m_names.size(); ++number) {
        if (m_order.at(number) == 0)
            visit(number);
    }
}

void cCycles::visit(int root)
{
    QVector<QPair<int, int>> way; // each with its next arrow
    const auto enter = [&](int number) {
        m_order[number] = m_lowest[number] = ++m_count;
        m_open.append(number);
        way.append({number, 0});
    };
    enter(root);
    while (!way.isEmpty()) {
        auto& [number, next] = way.last();
        if (next < m_targets.at(number).size()) {
            const int target = m_targets.at(number).at(next++);
            if (m_order.at(target) == 0)
                enter(target);
            else if (m_component.at(target) < 0)
                m_lowest[number] = qMin(m_lowest.at(number), m_order.at(target));
            continue;
        }
        const int left = number;
        way.removeLast();
        if (!way.isEmpty())
            m_lowest[way.last().first] = qMin(m_lowest.at(way.last().first), m_lowest.at(left));
        if (m_lowest.at(left) == m_order.at(left))
            close(left);
    }
}

void cCycles::close(int top)
{
    int size = 0;
    for (int number = -1; number != top; ++size) {
        number = m_open.takeLast();
        m_component[number] = m_sizes.size();
    }
    m_sizes.append(size);
}

bool cCycles::contains(const QString& from, const QString& to) const
{
    const int number = m_numbers.value(from, -1);
    const int target = m_numbers.value(to, -1);
    return number >= 0 && target >= 0 && m_component.at(number) == m_component.at(target);
}

bool cCycles::contains(const QString& name) const
{
    const int number = m_numbers.value(name, -1);
    return number >= 0 && (m_sizes.at(m_component.at(number)) > 1 || m_targets.at(number).contains(number));
}

QList<QStringList> cCycles::list() const
{
    QList<QStringList> cycles;
    QVector<bool> isDone(m_sizes.size());
    for (int first = 0; first < m_names.size(); ++first) {
        const int component = m_component.at(first);
        if (isDone.at(component) || !contains(m_names.at(first)))
            continue;
        isDone[component] = true;
        // Whoever goes on within the knot comes back to where he was.
        QVector<int> way;
        int number = first;
        while (!way.contains(number)) {
            way.append(number);
            for (int target : m_targets.at(way.last())) {
                if (m_component.at(target) == component)
                    number = target;
            }
        }
        QStringList names;
        for (int i = way.indexOf(number); i < way.size(); ++i)
            names.append(m_names.at(way.at(i)));
        cycles.append(names);
    }
    return cycles;
}
