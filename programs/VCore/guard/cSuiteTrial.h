#pragma once

#include "common/ExitCode.h"
#include "common/System.h"
#include "guard/cCulpritSearch.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QProcess>
#include <QtCore/QTimer>

/**
 * Tries the suite in child processes of this program, one after the other, with some plugins left out: each starts and
 * stops it, or starts it, lets a command judge it, and stops it. The children have no guard, so that nothing that they
 * do counts as a failure.
 *
 * A stop signal ends the trial at hand and the search with it; no child is left behind.
 */
class cSuiteTrial
{
public:
    struct Options
    {
        QStringList categories; // load categories
        QStringList without;    // names that are left out of all trials, beside those that are disabled
        QString logPath;        // the file that the children append their logs to, empty for none
        QStringList command;    // the program that judges, with its arguments; empty when the start itself is judged
        int seconds = 60;       // what the start, the command and the stop may take each
        bool isQuiet = false;   // what the command prints is not shown
    };

    explicit cSuiteTrial(const Options& options);

    /// Tries the suite without @p leftOut. @return nothing when no trial can be made any more, which has been said.
    std::optional<cCulpritSearch::Verdict> run(const QStringList& leftOut);

    /// What the last trial has shown, such as "breaks: it crashed".
    QString finding() const { return m_finding; }

    /// Why no trial can be made any more.
    ExitCode code() const { return m_code; }

private:
    using Verdict = cCulpritSearch::Verdict;
    class cServing;

    std::optional<Verdict> judgeStart(QProcess& suite);
    std::optional<Verdict> judgeByCommand(QProcess& suite);
    std::optional<Verdict> judgeCommand(QProcess& suite);
    std::optional<Verdict> judgeEnd(const QProcess& suite);
    std::optional<Verdict> judgeEarlyEnd(const QProcess& suite);
    Verdict say(Verdict verdict, const QString& finding);
    std::optional<Verdict> end(ExitCode code, const QString& reason);
    std::optional<Verdict> tooSlow(const QString& what);
    bool waitUntil(const std::function<bool()>& isDone);
    QStringList argumentsFor(const QStringList& leftOut) const;

    const Options m_options;
    cStopSignals m_stopSignals;
    QTimer m_tick; // lets what is waited for be looked at
    bool m_isStopped = false;
    QByteArray m_output; // of the suite, its end
    QString m_finding;
    ExitCode m_code = ExitCode::CulpritNotFound;
};
