#pragma once

#include "common/cCommand.h"

class cChangeLock;
class cProgram;
class QJsonObject;

/// Adds --run, which is done when no command is given, --disable and --enable.
void addRunCommands(cProgram& program);

/// Adds --bisect.
void addBisectCommand(cProgram& program);

/// Adds --report.
void addReportCommand(cProgram& program);

/// Adds the commands around the running host: --list, --send, --call.
void addHostCommands(cProgram& program);

/// Adds --check, --update and --update-sites.
void addUpdateCommands(cProgram& program);

/// Adds --trust and --untrust.
void addTrustCommands(cProgram& program);

/// Adds --install, --bootstrap, --uninstall and --install-dir.
void addInstallCommands(cProgram& program);

/// Adds --verify and --repair.
void addVerifyCommands(cProgram& program);

/// As many words as a command takes whose words are a list.
constexpr int ManyWords = 1000;

/// The option --log of several commands.
class cLogOption
{
public:
    void addTo(cSyntax& syntax) { syntax.add("--log", &m_path, "Append the log to FILE.", "FILE"); }

    /// Shows the log on the terminal, and opens the log file when one is named; says why when that cannot be written.
    /// @p show is Diagnostics::showLog or Diagnostics::showReasons.
    [[nodiscard]] ExitCode open(void (*show)()) const;

    /// The log file; empty when none is named.
    const QString& path() const { return m_path; }

private:
    QString m_path;
};

/// Adds the option --json of several commands.
void addJsonFlag(cSyntax& syntax, bool* target);

/// Prints what --json asks for.
void answerJson(const QJsonObject& object);

/// Reads @p seconds, what the option --timeout has been given; says what is wrong with it.
[[nodiscard]] bool readTimeout(const QString& seconds, int* milliseconds);

/// Initialises the framework; says so when that fails.
[[nodiscard]] ExitCode initialiseFramework();

/// How every command begins that fetches or installs: opens the log, takes @p lock for what the command does, and
/// initialises the framework. Ends with the first that fails, which has said why.
[[nodiscard]] ExitCode beginChange(const cLogOption& log, cChangeLock& lock, ExitCode (cChangeLock::*take)());
