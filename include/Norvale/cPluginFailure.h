#pragma once

#include <Norvale/cVersion.h>

#include <QtCore/QDateTime>
#include <QtCore/QString>

/** @ingroup plugins
 * How the plugin manager guards the process against its plugins; a value that may be copied and kept.
 */
struct cGuardOptions
{
    /// Whether the step at hand is noted, so that the next start knows which plugin ended this run; also the condition
    /// of all that follows.
    bool isOn = true;
    /// Whether the signals (on Windows: the exceptions) that end a process are taken, and a report is written for each
    /// into the folder "crashes" of the data folder. A library takes no signal by itself: the host decides.
    bool writesReports = false;
    /// After how many seconds a plugin's step, or a service call of the main thread, is told to hang; 0 for never.
    int hangSeconds = 30;
    /// Whether a process that hangs is ended, with a report where those are written.
    bool endsHungProcess = false;
};

/** @ingroup plugins
 * How a plugin has ended a run; a value that may be copied and kept.
 */
struct cPluginFailure
{
    /// What was done with the plugin when the run ended.
    enum Step {
        None,   ///< Nothing: there is no failure, and no other member means anything.
        Load,   ///< Its library was being loaded, or its entry function called.
        Start,  ///< It was being started.
        Stop,   ///< It was being stopped.
        Running ///< None of these: a service call, a timer or an event ran its code.
    };

    /// What is known of the end.
    enum End {
        Unknown, ///< The process did not end by itself, or nobody has watched: it was killed, or crashed unseen.
        Crashed, ///< A signal or an exception ended it; see cause.
        Hung     ///< It had been told to hang, see cGuardOptions::hangSeconds, and did not come back.
    };

    QString plugin;    ///< The plugin's name.
    cVersion version;  ///< The plugin's version.
    Step step = None;  ///< What was being done.
    End end = Unknown; ///< How the run ended.
    QString cause;     ///< What ended it, such as "SIGSEGV"; empty when that is not known.
    QDateTime when;    ///< When the step began, or with Running when the run ended; UTC.
    int inARow = 0; ///< How often the plugin has failed without having passed that step meanwhile, this time included.
    QString report; ///< The absolute path of the report that was written; empty when there is none.
};
