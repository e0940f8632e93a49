#pragma once

#include "ExitCode.h"
#include "TerminalLog.h"
#include "wire/cHostAddress.h"
#include "wire/cHostClient.h"

#include <QtCore/QCommandLineOption>
#include <QtCore/QList>
#include <QtCore/QStringList>

class QCommandLineParser;

/// The options that several commands share, and what follows from their values.
namespace CommandOptions {

extern const char Categories[];
extern const char Log[];
extern const char Trace[];
extern const char Json[];
extern const char Timeout[];
extern const char Wait[];

/// All of them, as the parser takes them.
QList<QCommandLineOption> all();

/// The load categories, without empty ones.
QStringList categories(const QCommandLineParser& line);

/// Shows the log on the terminal (TerminalLog::show or TerminalLog::showReasons) and opens the log file if one is
/// named.
/// @return false when it cannot be written.
[[nodiscard]] bool openLog(const QCommandLineParser& line, void (*show)() = TerminalLog::show);

/// Initialises the framework; says so when that fails.
[[nodiscard]] bool initialise();

/// Whether none of @p words is an option that stands too late to be one; says which.
[[nodiscard]] bool haveNoOptions(const QStringList& words);

/// The time limit in milliseconds; negative when the option holds none.
int timeout(const QCommandLineParser& line);

/// The address of the host of this installation.
cHostAddress address();

/// Connects @p client to the host of this installation; one that is yet to come is waited for if that is asked for.
cHostClient::Outcome connectToHost(const QCommandLineParser& line, cHostClient* client);

/// Prints why @p client did not get its answers, and gives the exit code.
ExitCode failure(cHostClient::Outcome outcome, const cHostClient& client);

} // namespace CommandOptions
