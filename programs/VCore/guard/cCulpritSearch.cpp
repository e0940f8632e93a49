#include "guard/cCulpritSearch.h"

#include <QtCore/QHash>

#include <algorithm>

namespace {

QVector<bool> both(QVector<bool> set, const QVector<bool>& other)
{
    for (int i = 0; i < set.size(); ++i)
        set[i] = set.at(i) || other.at(i);
    return set;
}

} // namespace

cCulpritSearch::cCulpritSearch(const QList<Candidate>& candidates, const Trial& trial)
    : m_candidates(candidates), m_trial(trial)
{
    QHash<QString, int> places;
    for (int i = 0; i < candidates.size(); ++i)
        places.insert(candidates.at(i).name, i);
    for (const Candidate& candidate : candidates) {
        QVector<int> needs;
        for (const QString& name : candidate.dependencies) {
            if (places.contains(name))
                needs.append(places.value(name));
        }
        m_needs.append(needs);
    }
}

cCulpritSearch::Result cCulpritSearch::run()
{
    // More than a few that break the suite only together are none that can be told from a suite that breaks at random.
    constexpr int MostCulprits = 8;
    const int all = m_candidates.size();
    if (!isBad(beginning(all)) && !m_isEnded)
        return m_last == CannotTell ? CannotBeTold : NeverBreaks;
    if (all == 0 || isBad(beginning(0)))
        return m_isEnded ? Ended : AlwaysBreaks;
    Set fixed = beginning(0);
    int longest = all;
    while (!m_isEnded && m_culprits.size() < MostCulprits && longest > 0) {
        // Once one has been found that does not break it alone, what it was found in has to break a second time.
        if (!m_culprits.isEmpty() && !isBad(both(fixed, beginning(longest))))
            break;
        longest = shortestBad(fixed, longest);
        const Set known = both(fixed, beginning(longest)); // to be bad
        m_culprits.append(--longest);
        fixed = both(fixed, wholeSetOf(longest));
        if (!m_isEnded && (fixed == known || isBad(fixed)))
            return Found;
    }
    return m_isEnded ? Ended : NotFound;
}

QStringList cCulpritSearch::culprits() const
{
    QVector<int> places = m_culprits;
    std::sort(places.begin(), places.end());
    QStringList names;
    for (const int place : places)
        names.append(m_candidates.at(place).name);
    return names;
}

bool cCulpritSearch::isBad(const Set& taken)
{
    if (m_isEnded)
        return false;
    QStringList leftOut;
    for (int i = 0; i < taken.size(); ++i) {
        if (!taken.at(i))
            leftOut.append(m_candidates.at(i).name);
    }
    const std::optional<Verdict> verdict = m_trial(leftOut);
    m_isEnded = !verdict.has_value();
    m_last = verdict.value_or(CannotTell);
    return m_last == Bad;
}

cCulpritSearch::Set cCulpritSearch::beginning(int count) const
{
    Set set(m_candidates.size(), false);
    std::fill(set.begin(), set.begin() + count, true);
    return set;
}

// The plugin with all that it needs.
cCulpritSearch::Set cCulpritSearch::wholeSetOf(int place) const
{
    Set set(m_candidates.size(), false);
    QVector<int> waiting{place};
    while (!waiting.isEmpty()) {
        const int next = waiting.takeLast();
        if (!set.at(next)) {
            set[next] = true;
            waiting += m_needs.at(next);
        }
    }
    return set;
}

// The length of the shortest beginning that is bad together with @p fixed. The one of @p longest plugins is, the empty
// one is not.
int cCulpritSearch::shortestBad(const Set& fixed, int longest)
{
    int good = 0;
    while (longest - good > 1) {
        const int middle = good + (longest - good) / 2;
        if (isBad(both(fixed, beginning(middle))))
            longest = middle;
        else
            good = middle;
    }
    return longest;
}
