#pragma once

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>
#include <optional>

/**
 * Finds the plugins that break a suite, by trying it with some of them left out.
 *
 * What is tried is always a set that is whole: with each plugin all that it needs takes part. The plugins are laid out
 * in their start order, so that every beginning of the line is such a set, and the shortest one that breaks ends with a
 * culprit. Whether that one breaks the suite with nothing but what it needs is tried next; if not, the shortest
 * beginning that breaks beside it gives the next culprit, and so on. For one culprit of n plugins that takes the two
 * tries at the ends, log2(n) rounded up, and one; for each further one log2(n), rounded up, and two.
 *
 * Each culprit found is needed: without it, the others do not break the suite. It is taken for granted that a set
 * breaks when a part of it does, and breaks each time.
 */
class cCulpritSearch
{
public:
    /// One plugin that can be left out.
    struct Candidate
    {
        QString name;
        QStringList dependencies; // names; those that are no candidates count as being there
    };

    enum Verdict {
        Good,
        Bad,
        CannotTell // counts as not bad: mostly what the fault needs is left out
    };

    /// Tries the suite without the plugins of @p leftOut, which are names in start order. @return nothing when the
    /// search has to end.
    using Trial = std::function<std::optional<Verdict>(const QStringList& leftOut)>;

    enum Result {
        Found,        // culprits() break it, all together, with what they need
        NeverBreaks,  // with all plugins it is good
        AlwaysBreaks, // without any plugin it is bad, too
        NotFound,     // it does not break in the same way each time, or far too many break it together
        CannotBeTold, // whether it breaks with all plugins
        Ended         // by the trial
    };

    /// @p candidates stand in start order, each behind what it depends on.
    cCulpritSearch(const QList<Candidate>& candidates, const Trial& trial);

    /// Does it. To be called once.
    Result run();

    /// The names of those found, in start order.
    QStringList culprits() const;

private:
    using Set = QVector<bool>; // by place in the line: who takes part

    bool isBad(const Set& taken);
    Set beginning(int count) const;
    Set wholeSetOf(int place) const;
    int shortestBad(const Set& fixed, int longest);

    QList<Candidate> m_candidates;
    QVector<QVector<int>> m_needs; // by place: the places of the dependencies
    Trial m_trial;
    QVector<int> m_culprits;
    bool m_isEnded = false;
    Verdict m_last = Good;
};
