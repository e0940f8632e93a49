#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>

// How the programs end. The numbers are part of their interface: scripts tell the ends apart by them, so none is ever
// reused. Each program counts for itself: whose code it is, its name, its number, and what it means.
#define EXIT_CODES(X)                                                                                                  \
    X(All, Ok, 0, "done, in order and without an error")                                                               \
    X(All, Usage, 2, "the command line was not understood")                                                            \
    X(All, NoMemory, 40, "there was not enough memory")                                                                \
    X(VCore, InitialiseFailed, 3, "the framework could not be initialised")                                            \
    X(VCore, StartFailed, 4, "the suite could not be started")                                                         \
    X(VCore, NoCore, 5, "the feature \"Core\" is not installed")                                                       \
    X(VCore, HostRunning, 6, "another host of this installation is running")                                           \
    X(VCore, NoHost, 7, "no host of this installation is running")                                                     \
    X(VCore, CallFailed, 8, "the running host answered with an error")                                                 \
    X(VCore, Timeout, 9, "the running host did not answer in time")                                                    \
    X(VCore, Restart, 10, "the suite asks to be set up anew with the stored setup program")                            \
    X(VCore, SocketFailed, 11, "the local socket or its lock could not be had")                                        \
    X(VCore, Fatal, 12, "the framework met a fatal condition")                                                         \
    X(VCore, HardStop, 13, "ended hard by a second stop signal, or by the first while nothing heard of it")            \
    X(VCore, FileFailed, 14, "the log or trace file could not be written")                                             \
    X(VCore, ConnectionLost, 15, "the running host closed the connection before it had answered")                      \
    X(VCore, LoopEnded, 16, "a plugin ended the event loop with another code than 0")                                  \
    X(VCore, NoUpdate, 17, "there is no update")                                                                       \
    X(VCore, Cancelled, 18, "the check or the update was cancelled; what is installed is as it was")                   \
    X(VCore, FetchFailed, 19, "a file of the update could not be fetched, or is not what its hash says")               \
    X(VCore, CoreTooOld, 20, "what is to be fetched or installed needs a newer core")                                  \
    X(VCore, FeatureMissing, 21, "the update sites lack a feature that is installed, needed or asked for")             \
    X(VCore, CheckFailed, 22, "the update check ended without a result")                                               \
    X(VCore, NewCore, 23, "the update is a new core; after --update its setup program is there to be run")             \
    X(VCore, InstallIncomplete, 24, "the installation left something out")                                             \
    X(VCore, NothingToInstall, 25, "there is no description of a repository to install from")                          \
    X(VCore, UninstallIncomplete, 26, "something could not be removed")                                                \
    X(VCore, UpdateRunning, 27, "another process fetches an update for this installation, or installs one")            \
    X(VCore, SettingsFailed, 28, "the settings could not be written")                                                  \
    X(VCore, Damaged, 29, "installed files are missing or changed; VCore --repair mends them")                         \
    X(VCore, NotVerified, 30, "it cannot be told what is installed, so nothing was verified or repaired")              \
    X(VCore, RepairIncomplete, 31, "something that is damaged could not be repaired")                                  \
    X(VCore, NoReport, 32, "there is no crash report, or it cannot be read")                                           \
    X(VCore, CulpritFound, 33, "the plugins that break the suite have been found")                                     \
    X(VCore, NothingBreaks, 34, "with all plugins the suite does not break")                                           \
    X(VCore, CulpritNotFound, 35, "the suite breaks without any plugin, or the search has come to no end")             \
    X(VCore, UnknownPlugin, 36, "no installed plugin has that name")                                                   \
    X(VCore, PluginFailed, 37, "a plugin that should run has failed; the column reason tells why")                     \
    X(VCore, NoSiteAnswered, 38, "no update site gave a sound answer, so it is not known whether there is an update")  \
    X(VCore, RootRefused, 39, "the root of trust was refused, or nothing can be verified with it")                     \
    X(norvale, Faults, 1, "the input breaks a rule; nothing was written")                                              \
    X(norvale, ReadFailed, 3, "a file or folder that was named cannot be read")                                        \
    X(norvale, WriteFailed, 4, "a result could not be written; what was there before stands")                          \
    X(norvale, Unreachable, 5, "the site's description could not be fetched")                                          \
    X(norvale, NoGraphviz, 6, "Graphviz's program dot is not there, or failed")                                        \
    X(norvale, Busy, 7, "another run of this program is changing the site")                                            \
    X(norvale, Exists, 8, "there is something where a new project would be written")                                   \
    X(norvale, NotSigned, 9, "signatures are missing: what is to be signed waits in tuf/staged")

/// How a program ends; what the codes mean is in the list above.
enum class ExitCode {
#define X(program, name, number, meaning) name = number,
    EXIT_CODES(X)
#undef X
};

/// The exit codes of this program with their meanings.
QMap<int, QString> exitCodes();

/// Prints @p reason as an error on standard error. @return @p code: `return endWith(ExitCode::Usage, ...)` is how a
/// command fails.
[[nodiscard]] ExitCode endWith(ExitCode code, const QString& reason);
